#include "platform/doubletouch.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QStyleHints>
#include <utility>

bool DoubleTouch::eventFilter(QObject *watched, QEvent *event)
{
    const bool twice = event->type() == QEvent::MouseButtonDblClick;
    if (!watched->isWindowType() || !(twice || event->type() == QEvent::MouseButtonPress))
        return false;
    const auto *mouse = static_cast<QMouseEvent *>(event);
    const QPointF way = mouse->globalPosition() - std::exchange(m_pressed, mouse->globalPosition());
    const int near = QGuiApplication::styleHints()->touchDoubleTapDistance();
    if (!twice || (qAbs(way.x()) <= near && qAbs(way.y()) <= near))
        return false;
    QMouseEvent press(QEvent::MouseButtonPress, mouse->position(), mouse->scenePosition(),
                      mouse->globalPosition(), mouse->button(), mouse->buttons(),
                      mouse->modifiers(), mouse->source(), mouse->pointingDevice());
    QCoreApplication::sendEvent(watched, &press);
    event->setAccepted(press.isAccepted());
    return true;
}
