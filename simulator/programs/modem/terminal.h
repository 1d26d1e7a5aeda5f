// Raw terminals with non-blocking reads and a time limit for writes.
#pragma once

#include "io/filedescriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <string>
#include <termios.h>

namespace modem
{

inline void makeRaw(termios &modes)
{
    ::cfmakeraw(&modes);
    modes.c_cflag |= CLOCAL | CREAD;
    ::cfsetspeed(&modes, B115200);
}

/**
 * Open a terminal in raw mode, but not as the controlling terminal.
 * @return the descriptor; after an error a closed one
 */
inline FileDescriptor openTerminal(const std::string &path)
{
    FileDescriptor terminal(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    termios modes = {};
    if (::tcgetattr(terminal.get(), &modes) == -1)
        return FileDescriptor();
    makeRaw(modes);
    ::tcsetattr(terminal.get(), TCSANOW, &modes);
    return terminal;
}

/** @return the available input, at most 4096 bytes */
inline std::string readTerminal(const FileDescriptor &terminal)
{
    char buffer[4096];
    const ssize_t length = ::read(terminal.get(), buffer, sizeof buffer);
    return {buffer, length > 0 ? static_cast<std::size_t>(length) : 0};
}

/** Write bytes. If the other end accepts none for 1 s, drop the rest. */
inline void writeTerminal(const FileDescriptor &terminal, std::string bytes)
{
    constexpr int Patience = 1000; // ms
    for (pollfd entry{terminal.get(), POLLOUT, 0}; !bytes.empty();) {
        ssize_t written = -1;
        if (::poll(&entry, 1, Patience) == 1)
            written = ::write(entry.fd, bytes.data(), bytes.size());
        if (written <= 0)
            return;
        bytes.erase(0, static_cast<std::size_t>(written));
    }
}

} // namespace modem
