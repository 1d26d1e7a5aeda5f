#include "io/singleinstance.h"

#include "core/boardpaths.h"
#include "io/filedescriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace
{

FileDescriptor openLock()
{
    // Close-on-exec: pppd outlives the program and must not inherit the lock.
    return FileDescriptor(
        ::open(boardpaths::InstanceLock, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
}

struct flock wholeFile()
{
    struct flock range = {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    return range;
}

} // namespace

bool acquireInstanceLock()
{
    static const FileDescriptor lock = openLock(); // Held until the process exits.
    struct flock range = wholeFile();
    return !lock.isOpen() || ::fcntl(lock.get(), F_OFD_SETLK, &range) == 0 ||
           (errno != EAGAIN && errno != EACCES);
}

bool isInstanceRunning()
{
    // Query only: a panel that starts while this process holds the lock, however briefly, would
    // exit.
    const FileDescriptor lock = openLock();
    struct flock range = wholeFile();
    return lock.isOpen() && ::fcntl(lock.get(), F_OFD_GETLK, &range) == 0 &&
           range.l_type != F_UNLCK;
}
