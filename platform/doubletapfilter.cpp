#include "platform/doubletapfilter.h"

#include <QCoreApplication>
#include <QLineEdit>
#include <QMouseEvent>

namespace
{

/** Send a double-click to the window as a press. Qt has already sent a press to the window, but
 *  not to its widgets. */
void sendAsPress(QObject *window, QMouseEvent *touch)
{
    QMouseEvent press(QEvent::MouseButtonPress, touch->position(), touch->scenePosition(),
                      touch->globalPosition(), touch->button(), touch->buttons(),
                      touch->modifiers(), touch->source(), touch->pointingDevice());
    QCoreApplication::sendEvent(window, &press);
    touch->setAccepted(press.isAccepted());
}

} // namespace

bool DoubleTapFilter::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonDblClick && watched->isWindowType()) {
        sendAsPress(watched, static_cast<QMouseEvent *>(event));
        return true;
    }
    if (event->type() != QEvent::MouseMove)
        return false;
    auto *edit = qobject_cast<QLineEdit *>(watched);
    const auto *move = static_cast<QMouseEvent *>(event);
    if (edit == nullptr || !move->buttons().testFlag(Qt::LeftButton))
        return false;
    edit->setCursorPosition(edit->cursorPositionAt(move->position().toPoint()));
    return true;
}
