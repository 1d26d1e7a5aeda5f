#include "io/logrotation.h"

#include "io/filedescriptor.h"

#include <QFile>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

QString rotatedPath(const QString &path)
{
    return path + QStringLiteral(".old");
}

void makePrivateLog(const QString &path)
{
    // O_NONBLOCK: if the path is a FIFO, open(2) must not wait for a writer.
    const FileDescriptor log(::open(
        QFile::encodeName(path).constData(),
        O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, S_IRUSR | S_IWUSR));
    struct stat found;
    if (!log.isOpen() || ::fstat(log.get(), &found) == -1)
        return;
    const bool ours = S_ISREG(found.st_mode) && found.st_uid == ::geteuid();
    if (ours && (found.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        ::fchmod(log.get(), S_IRUSR | S_IWUSR);
}

} // namespace

void makePrivateLogs(const QStringList &paths)
{
    for (const QString &path : paths)
        makePrivateLog(path);
}

void rotateLogs(const QStringList &paths)
{
    for (const QString &path : paths) {
        if (QFile::exists(rotatedPath(path)))
            QFile::remove(rotatedPath(path));
    }
    for (const QString &path : paths) {
        // Not QFile::rename(), which falls back to copying: a log can be larger than the memory.
        if (QFile::exists(path) && !QFile::exists(rotatedPath(path)))
            std::rename(QFile::encodeName(path).constData(),
                        QFile::encodeName(rotatedPath(path)).constData());
    }
}
