// The modem's serial port, lent by pppd as standard input: asked, and left as it was found.
#pragma once

#include "guard/simquery.h"

#include <chrono>
#include <csignal>
#include <termios.h>

namespace guard
{

/** Makes a port raw and non-blocking, and puts its modes back at the end. Does not own it. */
class ModemPort
{
public:
    explicit ModemPort(int fd);
    ~ModemPort();
    ModemPort(const ModemPort &) = delete;
    ModemPort &operator=(const ModemPort &) = delete;

    /**
     * Ask AT+CPIN? until the modem tells the state or the time is over; SIGTERM, SIGHUP and SIGINT
     * end it, too. Reads on until the modem is quiet, so that chat finds no leftover OK.
     */
    SimState ask(std::chrono::milliseconds limit);

private:
    using Clock = std::chrono::steady_clock;

    SimAnswer askOnce(Clock::time_point end);
    bool send(const char *command, Clock::time_point end);
    bool await(short events, Clock::time_point end);
    void pauseUntil(Clock::time_point end);
    void dropUntilQuiet(Clock::time_point end);

    int m_fd;
    bool m_usable = false; ///< it is a terminal, and nothing has failed
    int m_flags = 0;       ///< as found
    termios m_modes{};     ///< as found
};

/** Block the signals that end ask(), except where it waits. */
void catchEndingSignals();

/** @return true once one of those signals has come */
bool wasEnded();

} // namespace guard
