// The modem's serial port, which pppd passes as standard input. Its settings are restored.
#pragma once

#include "app/guard/simquery.h"

#include <chrono>
#include <csignal>
#include <string>
#include <termios.h>

namespace guard
{

/** Sets a port to raw and non-blocking mode and restores its settings. Does not close the port. */
class ModemPort
{
public:
    explicit ModemPort(int fd);
    ~ModemPort();
    ModemPort(const ModemPort &) = delete;
    ModemPort &operator=(const ModemPort &) = delete;

    /**
     * Send AT+CPIN? until the modem answers with a state, the limit is reached, or SIGTERM, SIGHUP
     * or SIGINT arrives. Read until the modem is quiet, so that chat finds no leftover OK.
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
    bool m_usable = false; ///< true when the port is a terminal and no call has failed
    int m_flags = 0;       ///< file status flags to restore
    termios m_modes{};     ///< terminal settings to restore
};

/**
 * Check which USB device a serial port belongs to.
 * @return vendor and product ID, "0403:6001" for example, of a USB device that is not the dongle;
 *         empty for the dongle's port and for ports that are not on the USB bus
 */
std::string otherUsbDevice(int fd);

/** Handle SIGTERM, SIGHUP and SIGINT, so that they end ask() instead of the process. */
void handleTerminationSignals();

/** @return true when one of those signals has arrived */
bool terminationReceived();

} // namespace guard
