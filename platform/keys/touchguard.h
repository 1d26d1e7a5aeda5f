// Refuses touches that were aimed at what stood at their place a moment before.
//
// When the keys come or go, what lies under the finger changes. The second touch of a double touch,
// and touches made while the program was too busy to draw, would meet a widget that nobody touched:
// Exit lies under the Enter key.
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

    /** Refuses presses in an area, from now until the double-click interval has passed from the
     *  moment when the program serves events again. @param area in global pixels */
    void refuse(const QRegion &area);

    /** Whether an event belongs to refused touches alone. To be asked once for each event. */
    bool refuses(const QPointerEvent &event);

private:
    void serve();

    QRegion m_area;
    QTimer m_timer;
    bool m_served = false;   ///< events have been served since the latest change
    std::set<int> m_refused; ///< fingers that are refused from their press to their lift
};
