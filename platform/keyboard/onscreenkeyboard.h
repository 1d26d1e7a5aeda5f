// On-screen keyboard: shows and hides the keyboard window, sends its keys to the line edit, and
// keeps that edit visible.
//
// The keyboard appears when a finger is lifted from a line edit; its window is created at the first
// use. Enter moves to the next edit. The keyboard disappears on Enter in the last edit, on the hide
// key, when the edit loses the focus, and immediately when a dialog opens. Nothing moves while a
// finger is on the screen, except for dialogs.
#pragma once

#include "platform/keyboard/touchdebouncer.h"
#include "platform/qwsinputmethod.h"

#include <QObject>
#include <QPoint>
#include <QPointer>

#include <memory>

class KeyboardWindow;
class QLineEdit;
class QMouseEvent;
class QWidget;
class QWindow;

class OnScreenKeyboard : public QObject, public QWSInputMethod
{
    Q_OBJECT

public:
    explicit OnScreenKeyboard(QObject *parent = nullptr);
    ~OnScreenKeyboard() override;

    /** Start watching for touches. From then on the text cursor blinks only while the keyboard is
     *  visible. */
    void activate() override;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool handlePointerEvent(QWindow *window, QPointerEvent *event);
    void handleEditTouch(QLineEdit *edit, const QMouseEvent *event);
    bool isFingerDown() const;
    bool isWanted() const;
    void updateVisibility();
    void scheduleUpdate();
    void createWindow();
    void showKeyboard();
    void hideKeyboard();
    void sendKey(Qt::Key key, const QString &text);
    void shiftWindow(QWidget *window, int shift);
    void move(QWidget &window, const QPoint &position);

    std::unique_ptr<KeyboardWindow> m_keys; ///< null until a line edit is first touched
    TouchDebouncer m_debouncer;
    int m_cursorFlashTime = 0; ///< cursor flash time to restore, in milliseconds

    QPointer<QLineEdit> m_edit; ///< line edit that was touched and receives the keys
    /** true when m_edit was selected, by a finger that was lifted inside it or by Enter in the
     *  previous edit, and the keyboard was not hidden since */
    bool m_keyboardRequested = false;
    QPointer<QLineEdit> m_pageOwner;           ///< line edit for which the current page was opened
    QList<QPointer<QWindow>> m_touchedWindows; ///< windows that are being touched
    /** true while a mouse button is down, real or synthesised from a touch */
    bool m_buttonDown = false;

    QPointer<QWidget> m_shiftedWindow; ///< window shifted up to make room for the keyboard
    QPoint m_originalPosition;         ///< original position of that window
};
