#include "platform/keyboard/touchdebouncer.h"

#include <QGuiApplication>
#include <QPointerEvent>
#include <QStyleHints>

TouchDebouncer::TouchDebouncer()
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &TouchDebouncer::onTimeout);
}

void TouchDebouncer::block(const QRegion &area)
{
    m_area += area;
    m_eventsProcessed = false;
    m_timer.start(0);
}

void TouchDebouncer::onTimeout()
{
    if (m_eventsProcessed) {
        m_area = QRegion();
        return;
    }
    m_eventsProcessed = true;
    m_timer.start(QGuiApplication::styleHints()->mouseDoubleClickInterval());
}

bool TouchDebouncer::filters(const QPointerEvent &event)
{
    bool anyBlocked = false;
    bool anyOther = false;
    for (const QEventPoint &point : event.points()) {
        const bool pressed = point.state() == QEventPoint::Pressed;
        if (pressed && m_area.contains(point.globalPosition().toPoint()))
            m_blockedFingers.insert(point.id());
        if (point.state() != QEventPoint::Stationary)
            (m_blockedFingers.count(point.id()) > 0 ? anyBlocked : anyOther) = true;
        if (point.state() == QEventPoint::Released)
            m_blockedFingers.erase(point.id());
    }
    if (event.type() == QEvent::TouchCancel)
        m_blockedFingers.clear();
    return anyBlocked && !anyOther;
}
