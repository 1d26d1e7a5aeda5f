// Window of the on-screen keyboard: at the bottom edge of the panel, above all other windows,
// without focus.
//
// It repaints changed keys immediately and has a backing store only while it is visible.
#pragma once

#include "platform/keyboard/keyboardstate.h"
#include "platform/keyboard/keypainter.h"

#include <QTimer>
#include <QVariantList>
#include <QWindow>

#include <memory>

class QBackingStore;

class KeyboardWindow : public QWindow
{
    Q_OBJECT
    /** For test tools, one map per key: "text" (typed text or action, letters in lower case),
     *  "rect" (QRect in the window), "upper" (true when capitals are typed), "locked" (true with
     *  caps lock). */
    Q_PROPERTY(QVariantList keys READ keysForInspection)

public:
    /** @param panel geometry of the panel in global pixels */
    explicit KeyboardWindow(const QRect &panel);
    ~KeyboardWindow() override;

    /** Show the first page for a field's hints in its initial state: lower case, no key pressed. */
    void open(Qt::InputMethodHints hints);

signals:
    /** A key was typed. @param text typed text; empty for keys without a character */
    void keyTyped(Qt::Key key, const QString &text);
    /** The hide key was touched. */
    void hideRequested();

protected:
    void exposeEvent(QExposeEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void touchEvent(QTouchEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    QVariantList keysForInspection() const;
    void press(int finger, const QPointF &at);
    void move(int finger, const QPointF &at);
    void release(int finger, const QPointF &at);
    void repeat();
    void deliver(const KeyboardState::Result &result);
    void repaintChanges();
    void paint(const QRegion &region);

    KeyboardState m_keys;
    KeyPainter m_painter;
    std::unique_ptr<QBackingStore> m_backingStore;
    QTimer m_repeat; ///< runs while Backspace is held

    // State shown in the backing store
    keyboardlayout::Page m_shownPage = keyboardlayout::Page::Letters;
    keyboardlayout::Shift m_shownShift = keyboardlayout::Shift::Off;
    int m_shownHeld = -1;
};
