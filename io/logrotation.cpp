#include "io/logrotation.h"

#include <QFile>
#include <cstdio>

namespace
{

QString oldCopy(const QString &path)
{
    return path + QStringLiteral(".old");
}

} // namespace

void rotateLogs(const QStringList &paths)
{
    for (const QString &path : paths) {
        if (QFile::exists(oldCopy(path)))
            QFile::remove(oldCopy(path));
    }
    for (const QString &path : paths) {
        // QFile::rename would fall back to copying, and a log can be larger than the memory.
        if (QFile::exists(path) && !QFile::exists(oldCopy(path)))
            std::rename(QFile::encodeName(path).constData(),
                        QFile::encodeName(oldCopy(path)).constData());
    }
}
