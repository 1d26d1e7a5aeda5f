#include "platform/stylesheets.h"

#include "core/displayprofile.h"

#include <QApplication>
#include <QFile>
#include <QWidget>

namespace
{

QString styleSheet(const QString &resourcePath)
{
    QFile file(resourcePath);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("Missing resource %s", qPrintable(resourcePath));
    return QString::fromUtf8(file.readAll());
}

} // namespace

void setGlobalStyleSheet()
{
    qApp->setStyleSheet(styleSheet(displayprofile::globalStyleSheetPath()));
}

void setProfileStyleSheet(QWidget *window, int profile)
{
    const QString path = displayprofile::styleSheetPath(profile);
    if (!path.isEmpty())
        window->setStyleSheet(styleSheet(path));
}
