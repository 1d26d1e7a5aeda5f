// On-screen keyboard: shows and hides the keyboard window, sends its keys to the line edit, and
// keeps that edit visible.
//
// The keyboard appears when a finger is lifted from a line edit; its window is created at the first
// use. It disappears on Enter, on the hide key, when the edit loses the focus, and immediately when
// a dialog opens. Nothing moves while a finger is on the screen, except for dialogs.
#pragma once

#include "platform/keys/touchguard.h"
#include "platform/qwsinputmethod.h"

#include <QObject>
#include <QPoint>
#include <QPointer>

#include <memory>

class KeysWindow;
class QLineEdit;
class QMouseEvent;
class QWidget;
class QWindow;

class OnScreenKeys : public QObject, public QWSInputMethod
{
    Q_OBJECT

public:
    explicit OnScreenKeys(QObject *parent = nullptr);
    ~OnScreenKeys() override;

    /** Start watching for touches. From then on the text cursor blinks only while the keyboard is
     *  visible. */
    void activate() override;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool pointed(QWindow *window, QPointerEvent *event);
    void touched(QLineEdit *edit, const QMouseEvent *event);
    bool isFingerDown() const;
    bool isWanted() const;
    void settle();
    void settleSoon();
    void makeWindow();
    void bringUp();
    void putAway();
    void type(Qt::Key key, const QString &text);
    void lift(QWidget *window, int shift);
    void move(QWidget &window, const QPoint &position);

    std::unique_ptr<KeysWindow> m_keys; ///< null until a line edit is first touched
    TouchGuard m_guard;
    int m_flashTime = 0; ///< cursor flash time to restore, in milliseconds

    QPointer<QLineEdit> m_edit; ///< line edit that was touched and receives the keys
    /** true when the finger was lifted inside m_edit and neither Enter nor the hide key was typed
     *  since */
    bool m_wanted = false;
    QPointer<QLineEdit> m_opened;       ///< line edit for which the current page was opened
    QList<QPointer<QWindow>> m_touched; ///< windows that are being touched
    /** true while a mouse button is down, real or synthesised from a touch */
    bool m_buttonDown = false;

    QPointer<QWidget> m_lifted; ///< window shifted up to make room for the keyboard
    QPoint m_rest;              ///< original position of that window
};
