#include "platform/keys/touchguard.h"

#include <QGuiApplication>
#include <QPointerEvent>
#include <QStyleHints>

TouchGuard::TouchGuard()
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &TouchGuard::serve);
}

void TouchGuard::refuse(const QRegion &area)
{
    m_area += area;
    m_served = false;
    m_timer.start(0);
}

void TouchGuard::serve()
{
    if (m_served) {
        m_area = QRegion();
        return;
    }
    m_served = true;
    m_timer.start(QGuiApplication::styleHints()->mouseDoubleClickInterval());
}

bool TouchGuard::refuses(const QPointerEvent &event)
{
    bool anyRefused = false;
    bool anyOther = false;
    for (const QEventPoint &point : event.points()) {
        const bool pressed = point.state() == QEventPoint::Pressed;
        if (pressed && m_area.contains(point.globalPosition().toPoint()))
            m_refused.insert(point.id());
        if (point.state() != QEventPoint::Stationary)
            (m_refused.count(point.id()) > 0 ? anyRefused : anyOther) = true;
        if (point.state() == QEventPoint::Released)
            m_refused.erase(point.id());
    }
    if (event.type() == QEvent::TouchCancel)
        m_refused.clear();
    return anyRefused && !anyOther;
}
