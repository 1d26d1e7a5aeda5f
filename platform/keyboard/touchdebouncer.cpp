#include "platform/keyboard/touchdebouncer.h"

#include <QApplication>
#include <QPointerEvent>
#include <QPushButton>

namespace
{

constexpr int ButtonInterval = 1000; // milliseconds
constexpr int SamePlace = 20;        // longest distance of the touches of a double tap, in pixels
// Iterations of the event loop until the waiting touches are delivered: the first may paint a whole
// window, the second reads the waiting touches, the third delivers them.
constexpr int Iterations = 3;

} // namespace

TouchDebouncer::TouchDebouncer()
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &TouchDebouncer::onTimeout);
}

void TouchDebouncer::block(const QRegion &area)
{
    m_area += area;
    m_touchBefore = m_lastTouch;
    m_iterationsLeft = Iterations;
    m_timer.start(0);
}

void TouchDebouncer::onTimeout()
{
    if (m_iterationsLeft == 0)
        m_area = QRegion();
    else
        m_timer.start(--m_iterationsLeft > 0 ? 0 : ButtonInterval);
}

bool TouchDebouncer::blocks(const QPoint &at) const
{
    if (!m_area.contains(at))
        return false;
    if (m_iterationsLeft > 0 || qobject_cast<QPushButton *>(QApplication::widgetAt(at)) != nullptr)
        return true;
    const int elapsed = ButtonInterval - m_timer.remainingTime();
    return elapsed < QApplication::doubleClickInterval() &&
           (at - m_touchBefore).manhattanLength() <= SamePlace;
}

bool TouchDebouncer::filters(const QPointerEvent &event)
{
    bool anyBlocked = false;
    bool anyOther = false;
    for (const QEventPoint &point : event.points()) {
        if (point.state() == QEventPoint::Pressed) {
            m_lastTouch = point.globalPosition().toPoint();
            if (blocks(m_lastTouch))
                m_blockedFingers.insert(point.id());
        }
        if (point.state() != QEventPoint::Stationary)
            (m_blockedFingers.count(point.id()) > 0 ? anyBlocked : anyOther) = true;
        if (point.state() == QEventPoint::Released)
            m_blockedFingers.erase(point.id());
    }
    if (event.type() == QEvent::TouchCancel)
        m_blockedFingers.clear();
    return anyBlocked && !anyOther;
}
