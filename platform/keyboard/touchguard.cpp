#include "touchguard.h"

#include <QGuiApplication>
#include <QPointerEvent>
#include <QStyleHints>
#include <QWindow>

TouchGuard::TouchGuard()
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &TouchGuard::serve);
    qApp->installEventFilter(this);
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

bool TouchGuard::eventFilter(QObject *watched, QEvent *event)
{
    if (!watched->isWindowType() || !event->isPointerEvent())
        return false;
    auto *pointer = static_cast<QPointerEvent *>(event);
    if (pointer->isBeginEvent() && pointer->pointCount() > 0)
        m_refusing = m_area.contains(pointer->point(0).globalPosition().toPoint());
    const bool refused = m_refusing;
    if (pointer->isEndEvent() || event->type() == QEvent::TouchCancel)
        m_refusing = false;
    if (refused)
        event->accept(); // An ignored touch would come again, as a mouse press.
    return refused;
}
