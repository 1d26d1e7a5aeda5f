// Window of the on-screen keyboard: at the bottom edge of the panel, above all other windows,
// without focus.
//
// It repaints changed keys immediately and has a backing store only while it is visible.
#pragma once

#include "platform/keys/keypainter.h"
#include "platform/keys/touchedkeys.h"

#include <QTimer>
#include <QVariantList>
#include <QWindow>

#include <memory>

class QBackingStore;

class KeysWindow : public QWindow
{
    Q_OBJECT
    /** For test tools, one map per key: "text" (typed text or action, letters in lower case),
     *  "rect" (QRect in the window), "upper" (true when capitals are typed), "locked" (true with
     *  caps lock). */
    Q_PROPERTY(QVariantList keys READ describedKeys)

public:
    /** @param panel geometry of the panel in global pixels */
    explicit KeysWindow(const QRect &panel);
    ~KeysWindow() override;

    /** Show a page in its initial state: lower case, no key pressed. */
    void open(keylayout::Page page);

signals:
    /** A key was typed. @param text typed text; empty for keys without a character */
    void typed(Qt::Key key, const QString &text);
    /** The hide key was touched. */
    void hideTouched();

protected:
    void exposeEvent(QExposeEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void touchEvent(QTouchEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    QVariantList describedKeys() const;
    void press(int finger, const QPointF &at);
    void move(int finger, const QPointF &at);
    void release(int finger, const QPointF &at);
    void repeat();
    void take(const TouchedKeys::Result &result);
    void showChanges();
    void paint(const QRegion &region);

    TouchedKeys m_keys;
    KeyPainter m_painter;
    std::unique_ptr<QBackingStore> m_picture;
    QTimer m_repeat; ///< runs while Backspace is held

    // State shown in the backing store
    keylayout::Page m_shownPage = keylayout::Page::Letters;
    keylayout::Shift m_shownShift = keylayout::Shift::Off;
    int m_shownHeld = -1;
};
