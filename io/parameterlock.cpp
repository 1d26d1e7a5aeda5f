#include "io/parameterlock.h"

#include "core/boardpaths.h"
#include "io/filedescriptor.h"

#include <QDeadlineTimer>
#include <QLoggingCategory>
#include <QThread>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>

namespace
{

Q_LOGGING_CATEGORY(log, "corvanta.files", QtFatalMsg)

constexpr unsigned long RetryMs = 20;

FileDescriptor lockFile;
int holders = 0; ///< number of nested locks in this process

bool acquire(std::chrono::milliseconds timeout)
{
    lockFile = FileDescriptor(
        ::open(boardpaths::ParameterLock, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    const QDeadlineTimer deadline(timeout);
    while (lockFile.isOpen()) {
        if (::flock(lockFile.get(), LOCK_EX | LOCK_NB) == 0)
            return true;
        if (errno != EINTR && (errno != EWOULDBLOCK || deadline.hasExpired()))
            break;
        QThread::msleep(RetryMs);
    }
    qCWarning(log, "lock %s: %s", boardpaths::ParameterLock, strerror(errno));
    lockFile = FileDescriptor();
    return false;
}

} // namespace

ParameterLock::ParameterLock(std::chrono::milliseconds timeout)
{
    if (holders > 0 || acquire(timeout))
        ++holders;
    else
        m_held = false;
}

ParameterLock::~ParameterLock()
{
    if (m_held && --holders == 0)
        lockFile = FileDescriptor();
}
