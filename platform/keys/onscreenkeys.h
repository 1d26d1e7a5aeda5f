// When the keys come and go, where they type, and what moves so that the field stays in sight.
//
// They come when a finger is lifted from a line edit; nothing of them is there before that. They go
// on Enter and on the hide key, when the edit loses the focus, and at once when a dialog opens. As
// long as a finger is on the screen nothing moves under it, dialogs excepted.
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

    /** Begins to watch for touches. From now on a caret blinks only while the keys are up. */
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

    std::unique_ptr<KeysWindow> m_keys; ///< null until an edit is touched
    TouchGuard m_guard;
    int m_flashTime = 0; ///< of a blinking caret, in milliseconds

    QPointer<QLineEdit> m_edit;   ///< the edit that a finger has touched, to type into
    bool m_wanted = false;        ///< that finger was lifted, and no key has ended typing since
    QPointer<QLineEdit> m_opened; ///< the edit whose page the keys were opened on
    QList<QPointer<QWindow>> m_touched; ///< the windows with fingers on them
    bool m_buttonDown = false;          ///< of a mouse, or of a touch that became one

    QPointer<QWidget> m_lifted; ///< the window that makes room for the keys
    QPoint m_rest;              ///< where that window belongs
};
