// The network's end of a call: a pseudo-terminal for its pppd.
#pragma once

#include "io/filedescriptor.h"

#include <poll.h>
#include <string>

namespace modem
{

/**
 * Carries bytes between the caller and the network's pppd, and never waits for either. It keeps
 * the caller's bytes back until pppd has sent something: pppd discards what arrives while it sets
 * its line up.
 */
class DataRelay
{
public:
    /** Makes a raw pseudo-terminal. @return 0 or -errno */
    int open();
    void close();

    /** @return path of the device for the network's pppd */
    const std::string &device() const { return m_device; }

    /**
     * @param lineTakesMore whether bytes of the network have somewhere to go
     * @return what to poll for; its descriptor is -1 when there is nothing to wait for
     */
    pollfd pollEntry(bool lineTakesMore) const;

    /** Moves what can be moved. @return what the network sent */
    std::string serve(short events);

    /** Takes bytes of the caller. @param ipcp whether his IPCP packets are among them, or lost */
    void send(const std::string &bytes, bool ipcp = true);

    /** @return whether the caller should be listened to */
    bool takesMore() const { return m_toNetwork.size() < Enough; }

private:
    static constexpr size_t Enough = 8192;

    void flush();
    std::string withoutIpcp(const std::string &bytes);

    FileDescriptor m_master;
    std::string m_device;
    std::string m_toNetwork;
    std::string m_frame; ///< of the caller, as far as it has come
    bool m_networkSpoke = false;
    bool m_hungUp = false;
};

} // namespace modem
