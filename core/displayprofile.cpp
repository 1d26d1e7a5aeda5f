#include "core/displayprofile.h"

#include "core/panels.h"

#include <algorithm>

namespace displayprofile
{

int modelFor(const QSize &screen)
{
    for (const Panel &panel : Panels) {
        if (screen == QSize(panel.width, panel.height))
            return panel.profile;
    }
    return 0;
}

QString styleSheetPath(int model)
{
    const auto hasProfile = [model](const Panel &panel) { return panel.profile == model; };
    if (std::none_of(std::begin(Panels), std::end(Panels), hasProfile))
        return QString();
    return QStringLiteral(":/styles/profile%1.qss").arg(model);
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
