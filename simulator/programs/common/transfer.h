// Reading and writing of everything that a descriptor gives or takes.
#pragma once

#include <cerrno>
#include <string>
#include <unistd.h>

namespace common
{

/** @return 0, or the errno with which not all of it could be written */
inline int writeAll(int fd, const std::string &bytes)
{
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t written = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (written == -1 && errno != EINTR)
            return errno;
        done += written == -1 ? 0 : static_cast<std::size_t>(written);
    }
    return 0;
}

/** Appends everything up to the end of a file or connection. @return 0, or errno */
inline int readAll(int fd, std::string &bytes)
{
    char block[65536];
    for (;;) {
        const ssize_t length = ::read(fd, block, sizeof block);
        if (length == 0)
            return 0;
        if (length > 0)
            bytes.append(block, static_cast<std::size_t>(length));
        else if (errno != EINTR)
            return errno;
    }
}

} // namespace common
