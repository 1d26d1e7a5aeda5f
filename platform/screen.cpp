#include "platform/screen.h"

#include <QGuiApplication>
#include <QScreen>

QSize deviceScreenSize()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    if (screen == nullptr)
        return QSize(0, 0);
    return (QSizeF(screen->geometry().size()) * screen->devicePixelRatio()).toSize();
}
