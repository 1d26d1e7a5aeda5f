#include "core/displayprofile.h"

namespace displayprofile
{

int modelFor(const QSize &screen)
{
    if (screen == QSize(480, 272))
        return 4;
    if (screen == QSize(800, 480))
        return 7;
    if (screen == QSize(1280, 800))
        return 10;
    return 0;
}

QString styleSheetPath(int model)
{
    switch (model) {
    case 4:
    case 7:
    case 10:
        return QStringLiteral(":/styles/profile%1.qss").arg(model);
    default:
        return QString();
    }
}

QString globalStyleSheetPath()
{
    return QStringLiteral(":/styles/global.qss");
}

QRect busyBarGeometry(const QSize &screen)
{
    const int width = screen.width() / 2;
    const int height = screen.height() / 12;
    const int offset = (screen.width() - width) / 2;
    return QRect(offset, offset, width, height);
}

} // namespace displayprofile
