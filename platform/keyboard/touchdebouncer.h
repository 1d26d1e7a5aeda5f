// Ignores touches where the screen has just changed (debounce).
//
// When the keyboard appears or disappears, another widget lies under the finger. The second touch
// of a double tap, or a touch made while the program was too busy to repaint, would then hit a
// widget that the operator did not aim at: Exit lies under the Enter key.
#pragma once

#include <QObject>
#include <QRegion>
#include <QTimer>

#include <set>

class QPointerEvent;

class TouchDebouncer : public QObject
{
    Q_OBJECT

public:
    TouchDebouncer();

    /** Ignore presses in an area until the double-click interval has passed, counted from the next
     *  time that the event loop runs. @param area in global pixels */
    void block(const QRegion &area);

    /** Return true when all changed touch points of an event are blocked. Call this exactly once
     *  per event. */
    [[nodiscard]] bool filters(const QPointerEvent &event);

private:
    void onTimeout();

    QRegion m_area;
    QTimer m_timer;
    bool m_eventsProcessed = false; ///< true when the event loop has run since the last change
    std::set<int> m_blockedFingers; ///< IDs of blocked fingers, from press to release
};
