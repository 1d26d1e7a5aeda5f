#include "io/linefile.h"

#include "io/filedescriptor.h"

#include <QDebug>
#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace linefile
{

namespace
{

constexpr qsizetype MaxBytes = 1 << 20;
constexpr mode_t OwnerOnly = S_IRUSR | S_IWUSR;

bool failed(const char *call, const QByteArray &path)
{
    const int error = errno;
    qWarning("%s %s: %s", call, path.constData(), strerror(error));
    return false;
}

/** Looks at a path before it is opened: opening a device or a FIFO can have effects. */
bool mayBeOpened(const QByteArray &path)
{
    struct stat info;
    return ::stat(path.constData(), &info) == -1 ? errno == ENOENT : S_ISREG(info.st_mode);
}

FileDescriptor openRegular(const QByteArray &path, int flags)
{
    if (!mayBeOpened(path))
        return FileDescriptor();
    FileDescriptor file(
        ::open(path.constData(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, OwnerOnly));
    struct stat info;
    if (!file.isOpen() || ::fstat(file.get(), &info) == -1 || !S_ISREG(info.st_mode))
        return FileDescriptor();
    return file;
}

QByteArray readAll(int fd)
{
    QByteArray content;
    char buffer[4096];
    while (content.size() < MaxBytes) {
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count == -1 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        content.append(buffer, count);
    }
    return content;
}

bool writeAll(int fd, const QByteArray &bytes)
{
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t count = ::write(fd, bytes.constData() + done, bytes.size() - done);
        if (count == -1 && errno != EINTR)
            return false;
        done += count > 0 ? count : 0;
    }
    return true;
}

bool truncate(int fd)
{
    return ::ftruncate(fd, 0) == 0 && ::lseek(fd, 0, SEEK_SET) == 0;
}

bool writeLines(int fd, const QStringList &lines)
{
    for (const QString &line : lines) {
        if (!writeAll(fd, line.toUtf8() + '\n'))
            return false;
    }
    return ::fsync(fd) == 0;
}

} // namespace

std::optional<QByteArray> read(const QString &path)
{
    const FileDescriptor file = openRegular(QFile::encodeName(path), O_RDONLY);
    if (!file.isOpen())
        return std::nullopt;
    return readAll(file.get());
}

bool write(const QString &path, const QStringList &lines)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat info;
    const bool existed = ::stat(name.constData(), &info) == 0;
    const FileDescriptor file = openRegular(name, O_RDWR | O_CREAT);
    if (!file.isOpen())
        return failed("open", name);
    if (::fchmod(file.get(), OwnerOnly) == -1)
        failed("chmod", name);

    const QByteArray earlier = readAll(file.get());
    if (truncate(file.get()) && writeLines(file.get(), lines))
        return true;

    failed("write", name);
    if (!existed)
        ::unlink(name.constData());
    else if (!truncate(file.get()) || !writeAll(file.get(), earlier) || ::fsync(file.get()) == -1)
        failed("restore", name);
    return false;
}

} // namespace linefile
