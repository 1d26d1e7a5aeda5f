#include "io/onlycopy.h"

#include "core/boardpaths.h"
#include "io/filedescriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>

namespace
{

FileDescriptor openLock()
{
    // Close-on-exec: pppd, which outlives the program, must not keep the place.
    return FileDescriptor(
        ::open(boardpaths::OnlyCopyLock, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
}

bool isTaken(const FileDescriptor &lock)
{
    return lock.isOpen() && ::flock(lock.get(), LOCK_EX | LOCK_NB) == -1 && errno == EWOULDBLOCK;
}

} // namespace

bool claimOnlyCopy()
{
    static const FileDescriptor lock = openLock(); // Held until the process ends.
    return !isTaken(lock);
}

bool isCopyRunning()
{
    return isTaken(openLock());
}
