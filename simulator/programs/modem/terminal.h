// Raw terminals that do not block.
#pragma once

#include "io/filedescriptor.h"

#include <cstdio>
#include <fcntl.h>
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

/** Write bytes. Those that do not fit into the line's buffer are lost, as without flow control. */
inline void writeTerminal(const FileDescriptor &terminal, const std::string &bytes)
{
    if (::write(terminal.get(), bytes.data(), bytes.size()) == -1)
        std::perror("modemsim: write");
}

} // namespace modem
