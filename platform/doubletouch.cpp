#include "platform/doubletouch.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QStyleHints>

bool DoubleTouch::eventFilter(QObject *watched, QEvent *event)
{
    if (!watched->isWindowType())
        return false;
    if (event->type() == QEvent::MouseButtonPress) {
        m_before = m_pressed;
        m_pressed = static_cast<QMouseEvent *>(event)->globalPosition();
    }
    if (event->type() != QEvent::MouseButtonDblClick)
        return false;
    // Qt has sent the second touch as a press before, which widgets do not get.
    const QPointF way = m_pressed - m_before;
    const int near = QGuiApplication::styleHints()->touchDoubleTapDistance();
    if (qAbs(way.x()) <= near && qAbs(way.y()) <= near)
        return false;
    const auto *mouse = static_cast<QMouseEvent *>(event);
    QMouseEvent press(QEvent::MouseButtonPress, mouse->position(), mouse->scenePosition(),
                      mouse->globalPosition(), mouse->button(), mouse->buttons(),
                      mouse->modifiers(), mouse->source(), mouse->pointingDevice());
    QCoreApplication::sendEvent(watched, &press);
    event->setAccepted(press.isAccepted());
    return true;
}
