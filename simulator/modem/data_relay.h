// The network's end of a call: a pseudo-terminal for its pppd, and what waits on the way there.
#pragma once

#include "posix.h"

#include <poll.h>
#include <string>

namespace modem
{

/**
 * Bytes between the serial line and the network's pppd, without ever waiting for either. What the
 * caller sends is kept back until pppd has sent something, because it empties its line when it sets
 * that up.
 */
class DataRelay
{
public:
    /** Makes a raw pseudo-terminal. @return 0 or -errno. */
    int open();
    void close();

    /** @return the device for the network's pppd. */
    const std::string &device() const { return m_device; }

    /** @return what to poll for; no descriptor when there is nothing to wait for. */
    pollfd pollEntry(bool lineTakesMore) const;

    /** Moves what can be moved. @return what the network sent. */
    std::string serve(short events);

    /** Takes bytes of the caller. */
    void send(const std::string &bytes);

    /** @return whether the caller should be listened to. */
    bool takesMore() const { return m_toNetwork.size() < Enough; }

private:
    static constexpr size_t Enough = 8192;

    void flush();

    UniqueFd m_master;
    std::string m_device;
    std::string m_toNetwork;
    bool m_networkSpoke = false;
    bool m_hungUp = false;
};

} // namespace modem
