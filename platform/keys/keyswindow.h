// The window of the keys: along the panel's bottom edge, above all others, without the focus.
//
// It paints at once what has changed, and keeps a picture of itself only while it is shown.
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
    /** For whoever looks at the panel from outside, one map per key: "text" (what the key types or
     *  does, a letter small), "rect" (QRect in the window), "upper" (capitals are typed now),
     *  "locked" (and will be). */
    Q_PROPERTY(QVariantList keys READ describedKeys)

public:
    /** @param panel geometry of the panel in global pixels */
    explicit KeysWindow(const QRect &panel);
    ~KeysWindow() override;

    /** Shows a page from its start: small letters, no finger. */
    void open(keylayout::Page page);

signals:
    /** A key has typed. @param text what; empty for keys that type no character */
    void typed(Qt::Key key, const QString &text);
    /** The operator wants the keys away. */
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

    // What the picture shows.
    keylayout::Page m_shownPage = keylayout::Page::Letters;
    keylayout::Shift m_shownShift = keylayout::Shift::Off;
    int m_shownHeld = -1;
};
