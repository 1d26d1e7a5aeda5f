#include "io/onlycopy.h"

#include "core/boardpaths.h"
#include "io/filedescriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace
{

FileDescriptor openLock()
{
    // Close-on-exec: pppd, which outlives the program, must not keep the place.
    return FileDescriptor(
        ::open(boardpaths::OnlyCopyLock, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
}

struct flock wholeFile()
{
    struct flock range = {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    return range;
}

} // namespace

bool claimOnlyCopy()
{
    static const FileDescriptor lock = openLock(); // Held until the process ends.
    struct flock range = wholeFile();
    return !lock.isOpen() || ::fcntl(lock.get(), F_OFD_SETLK, &range) == 0 ||
           (errno != EAGAIN && errno != EACCES);
}

bool isCopyRunning()
{
    // Only looks: a lock taken for a moment would end a panel that starts just then.
    const FileDescriptor lock = openLock();
    struct flock range = wholeFile();
    return lock.isOpen() && ::fcntl(lock.get(), F_OFD_GETLK, &range) == 0 &&
           range.l_type != F_UNLCK;
}
