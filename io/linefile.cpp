#include "io/linefile.h"

#include "core/lineencoding.h"
#include "io/filedescriptor.h"

#include <QFile>
#include <QLoggingCategory>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>

namespace linefile
{

namespace
{

// Off by default; Qt's logging rules can enable it.
Q_LOGGING_CATEGORY(log, "corvanta.files", QtFatalMsg)

constexpr qsizetype MaxBytes = 1 << 20;
constexpr off_t MaxEndBytes = 1 << 16;
constexpr int MaxRetries = 100;
constexpr mode_t OwnerOnly = S_IRUSR | S_IWUSR;
constexpr mode_t OthersAccess = S_IRWXG | S_IRWXO;

void logFailure(const char *what, const QByteArray &path, int error)
{
    qCWarning(log, "%s %s: %s", what, path.constData(), strerror(error));
}

/** Retry a system call on EINTR, at most MaxRetries times. */
template <typename Call> auto retryOnEintr(Call call)
{
    auto result = call();
    for (int times = 1; result == -1 && errno == EINTR && times < MaxRetries; ++times)
        result = call();
    return result;
}

int statOf(int fd, struct stat *info)
{
    return retryOnEintr([fd, info] { return ::fstat(fd, info); });
}

/** Check for a regular file. If it is not one, set errno to EISDIR or ENOTSUP. */
bool isRegular(const struct stat &info)
{
    errno = S_ISDIR(info.st_mode) ? EISDIR : ENOTSUP;
    return S_ISREG(info.st_mode);
}

/** Check a path with stat(2) before opening it: opening a device or a FIFO can have side effects.
 */
bool isSafeToOpen(const QByteArray &path)
{
    struct stat info;
    const int found = retryOnEintr([&path, &info] { return ::stat(path.constData(), &info); });
    return found == -1 ? errno == ENOENT : isRegular(info);
}

/** @return a closed descriptor, with errno set, when the path is not a regular file or cannot be
 *          opened */
FileDescriptor openRegular(const QByteArray &path, int flags)
{
    if (!isSafeToOpen(path))
        return FileDescriptor();
    FileDescriptor file(retryOnEintr([&path, flags] {
        return ::open(path.constData(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, OwnerOnly);
    }));
    struct stat info;
    if (!file.isOpen() || statOf(file.get(), &info) == -1 || !isRegular(info))
        return FileDescriptor();
    return file;
}

/** Read a file, at most MaxBytes. @return std::nullopt when a read fails */
std::optional<QByteArray> readAll(int fd, off_t start = 0)
{
    QByteArray content;
    char buffer[4096];
    while (content.size() < MaxBytes) {
        const ssize_t count = retryOnEintr(
            [&] { return ::pread(fd, buffer, sizeof buffer, start + content.size()); });
        if (count == -1)
            return std::nullopt;
        if (count == 0)
            break;
        content.append(buffer, count);
    }
    return content;
}

/** @param offset in the file, in bytes */
bool writeAll(int fd, const QByteArray &bytes, off_t offset = 0)
{
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t count = retryOnEintr([fd, &bytes, done, offset] {
            return ::pwrite(fd, bytes.constData() + done, bytes.size() - done, offset + done);
        });
        if (count <= 0)
            return false;
        done += count;
    }
    return true;
}

bool sync(int fd)
{
    return retryOnEintr([fd] { return ::fsync(fd); }) == 0;
}

bool cut(int fd, off_t length)
{
    return retryOnEintr([fd, length] { return ::ftruncate(fd, length); }) == 0;
}

/**
 * Replace a file's content. Between two syncs, data and size reach the disk in any order. Each step
 * therefore changes only one of them: extend the file with newlines, overwrite it at constant size,
 * truncate it. After a power cut in any step, the file reads as the old or the new content.
 * @param size current file size in bytes
 */
bool replace(int fd, const QByteArray &content, off_t size)
{
    const off_t longer = content.size() - size;
    // Do not extend an empty file: after a power cut, the newlines would read as empty values.
    if (size > 0 && longer > 0 && !(writeAll(fd, QByteArray(longer, '\n'), size) && sync(fd)))
        return false;
    const QByteArray padded = content.leftJustified(std::min<off_t>(size, MaxBytes), '\n');
    return writeAll(fd, padded) && sync(fd) &&
           (longer >= 0 || (cut(fd, content.size()) && sync(fd)));
}

/** Set owner and mode so that only the program's user can access the file. @return false when
 *  others may still be able to */
bool restrictToOwner(int fd)
{
    struct stat info;
    const auto changeOwner = [fd] { return ::fchown(fd, ::geteuid(), ::getegid()); };
    const auto changeMode = [fd] { return ::fchmod(fd, OwnerOnly); };
    if (statOf(fd, &info) == -1)
        return false;
    const bool owned = info.st_uid == ::geteuid() || retryOnEintr(changeOwner) == 0;
    if ((info.st_mode & ALLPERMS) == OwnerOnly || retryOnEintr(changeMode) == 0)
        return owned;
    return owned && (info.st_mode & OthersAccess) == 0;
}

/** Resolve symbolic links. @return empty when the path cannot be resolved */
QByteArray realPath(const QByteArray &path)
{
    std::unique_ptr<char, decltype(&std::free)> real(nullptr, &std::free);
    retryOnEintr([&path, &real] {
        real.reset(::realpath(path.constData(), nullptr));
        return real ? 0 : -1;
    });
    return QByteArray(real.get());
}

/** fsync the directory, so that the directory entry of a new file is as durable as its content.
 * Some file systems do not support this. */
void syncDirectory(const QByteArray &path)
{
    const QByteArray real = realPath(path);
    const QByteArray directory = real.left(std::max<qsizetype>(real.lastIndexOf('/'), 1));
    const FileDescriptor opened(retryOnEintr([&directory] {
        return ::open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }));
    if (!opened.isOpen() || retryOnEintr([&opened] { return ::fsync(opened.get()); }) == -1)
        logFailure("sync directory", directory, errno);
}

/** Write the old content back. @param size old file size in bytes; larger than content if that was
 *  truncated to MaxBytes */
bool restore(int fd, const QByteArray &content, off_t size)
{
    struct stat info;
    if (statOf(fd, &info) == -1)
        return false;
    if (size > content.size())
        return writeAll(fd, content) && cut(fd, size) && sync(fd);
    return replace(fd, content, info.st_size);
}

/** Replace the content of an open file; on failure restore the old content if it could be read. */
bool rewrite(int fd, const QByteArray &name, const QByteArray &content)
{
    struct stat info;
    if (statOf(fd, &info) == -1) {
        logFailure("prepare", name, errno);
        return false;
    }
    // Save the operator's input even if the file system has no owners and modes, and even if the
    // old content cannot be read.
    if (!restrictToOwner(fd))
        logFailure("restrict access to", name, errno);
    const std::optional<QByteArray> previous = readAll(fd);
    if (!previous)
        logFailure("read the earlier content of", name, errno);
    if (replace(fd, content, info.st_size))
        return true;
    logFailure("write", name, errno);
    if (previous && !restore(fd, *previous, info.st_size))
        logFailure("restore", name, errno);
    return false;
}

/** @param start returns the offset in the open file at which to start */
ReadResult readFrom(const QString &path, off_t (*start)(int fd))
{
    const QByteArray name = QFile::encodeName(path);
    const FileDescriptor file = openRegular(name, O_RDONLY);
    if (const auto bytes = file.isOpen() ? readAll(file.get(), start(file.get())) : std::nullopt)
        return {ReadResult::Complete, *bytes, 0};
    const int error = errno;
    logFailure("read", name, error);
    return {error == ENOENT ? ReadResult::Missing : ReadResult::Unreadable, {}, error};
}

} // namespace

ReadResult read(const QString &path)
{
    return readFrom(path, [](int) -> off_t { return 0; });
}

ReadResult readEnd(const QString &path)
{
    return readFrom(path, [](int fd) -> off_t {
        struct stat info;
        return statOf(fd, &info) == -1 ? 0 : std::max<off_t>(info.st_size - MaxEndBytes, 0);
    });
}

bool write(const QString &path, const QStringList &lines)
{
    const QByteArray name = QFile::encodeName(path);
    FileDescriptor file = openRegular(name, O_RDWR);
    const bool missing = !file.isOpen() && errno == ENOENT;
    if (missing)
        file = openRegular(name, O_RDWR | O_CREAT);
    if (!file.isOpen())
        logFailure("open", name, errno);
    const bool written =
        file.isOpen() && rewrite(file.get(), name, lineencoding::encodeLines(lines));
    if (missing && written)
        syncDirectory(name);
    else if (missing)
        ::unlink(realPath(name).constData()); // An empty file would hide the defaults.
    return written;
}

} // namespace linefile
