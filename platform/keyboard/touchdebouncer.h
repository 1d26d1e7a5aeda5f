// Ignores touches where the screen has just changed (debounce).
//
// When the keyboard or another window appears, moves or disappears, another widget lies under the
// finger. The second touch of a double tap, the next key of a typist, or a touch made while the
// program was too busy to repaint, would then hit a widget that the operator did not aim at: Exit
// lies under the Enter key.
#pragma once

#include <QObject>
#include <QPoint>
#include <QRegion>
#include <QTimer>

#include <set>

class QPointerEvent;

class TouchDebouncer : public QObject
{
    Q_OBJECT

public:
    TouchDebouncer();

    /**
     * Ignore presses in an area: all presses until the event loop has processed the waiting events,
     * and from then on
     * - for 1 s, presses on push buttons, which act immediately,
     * - for the double-click interval, presses at the place of the last press before the call.
     * @param area in global pixels
     */
    void block(const QRegion &area);

    /** Return true when all changed touch points of an event are blocked. Call this exactly once
     *  per event. */
    [[nodiscard]] bool filters(const QPointerEvent &event);

private:
    bool blocks(const QPoint &at) const;
    void onTimeout();

    QRegion m_area;
    QTimer m_timer;
    int m_iterationsLeft = 0;       ///< event-loop iterations until waiting events are processed
    QPoint m_lastTouch;             ///< place of the last press, in global pixels
    QPoint m_touchBefore;           ///< place of the last press before the last block()
    std::set<int> m_blockedFingers; ///< IDs of blocked fingers, from press to release
};
