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

class TouchGuard : public QObject
{
    Q_OBJECT

public:
    TouchGuard();

    /** Ignore presses in an area until the double-click interval has passed, counted from the next
     *  time that the event loop runs. @param area in global pixels */
    void refuse(const QRegion &area);

    /** Return true when all changed touch points of an event are blocked. Call this exactly once
     *  per event. */
    [[nodiscard]] bool refuses(const QPointerEvent &event);

private:
    void serve();

    QRegion m_area;
    QTimer m_timer;
    bool m_served = false;   ///< true when the event loop has run since the last change
    std::set<int> m_refused; ///< IDs of blocked fingers, from press to release
};
