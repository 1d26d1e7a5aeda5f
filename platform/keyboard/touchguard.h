// Refuses touches that were aimed at what stood at their place a moment before.
//
// When the keyboard comes or goes, what lies under the finger changes. The second touch of a double
// touch, and touches made while the program was too busy to draw, would meet a widget that nobody
// touched: Exit lies under the Enter key.
#pragma once

#include <QObject>
#include <QRegion>
#include <QTimer>

class TouchGuard : public QObject
{
    Q_OBJECT

public:
    TouchGuard();

    /** Refuses presses in an area, from now until the double-click interval has passed from the
     *  moment when the program serves events again. @param area in global pixels */
    void refuse(const QRegion &area);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void serve();

    QRegion m_area;
    QTimer m_timer;
    bool m_served = false;   ///< events have been served since the latest change
    bool m_refusing = false; ///< a press was refused; what follows up to its release is, too
};
