#include "simulator/programs/modem/datarelay.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace modem
{
namespace
{

constexpr char Flag = 0x7e;
constexpr char Escape = 0x7d;

/** @return whether a frame, as it is on the line (RFC 1662), carries IPCP (RFC 1332) */
bool isIpcp(const std::string &frame)
{
    std::string header;
    for (size_t i = 0; i < frame.size() && header.size() < 4; ++i) {
        const bool escaped = frame[i] == Escape && i + 1 < frame.size();
        header += escaped ? static_cast<char>(frame[++i] ^ 0x20) : frame[i];
    }
    // Address and control may have been agreed away.
    return header.compare(header.compare(0, 2, "\xff\x03") == 0 ? 2 : 0, 2, "\x80\x21") == 0;
}

} // namespace

int DataRelay::open()
{
    close();
    FileDescriptor master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    char name[64];
    termios settings = {};
    if (!master.isOpen() || ::grantpt(master.get()) == -1 || ::unlockpt(master.get()) == -1 ||
        ::ptsname_r(master.get(), name, sizeof name) != 0 ||
        ::tcgetattr(master.get(), &settings) == -1 ||
        ::fcntl(master.get(), F_SETFL, O_NONBLOCK) == -1)
        return -errno;
    ::cfmakeraw(&settings);
    if (::tcsetattr(master.get(), TCSANOW, &settings) == -1)
        return -errno;
    m_master = std::move(master);
    m_device = name;
    return 0;
}

void DataRelay::close()
{
    m_master.close();
    m_toNetwork.clear();
    m_frame.clear();
    m_networkSpoke = m_hungUp = false;
}

pollfd DataRelay::pollEntry(bool lineTakesMore) const
{
    // A terminal whose other end is closed says so at every poll. The call ends with pppd, later.
    const bool ready = m_networkSpoke && !m_toNetwork.empty();
    return {m_hungUp ? -1 : m_master.get(),
            static_cast<short>((lineTakesMore ? POLLIN : 0) | (ready ? POLLOUT : 0)), 0};
}

std::string DataRelay::serve(short events)
{
    std::string bytes;
    if ((events & POLLIN) != 0) {
        char buffer[2048];
        const ssize_t length = ::read(m_master.get(), buffer, sizeof buffer);
        if (length > 0)
            bytes.assign(buffer, static_cast<size_t>(length));
    } else if ((events & (POLLHUP | POLLERR)) != 0) {
        m_hungUp = true;
    }
    m_networkSpoke = m_networkSpoke || !bytes.empty();
    flush();
    return bytes;
}

void DataRelay::send(const std::string &bytes, bool ipcp)
{
    m_toNetwork += ipcp ? bytes : withoutIpcp(bytes);
    flush();
}

std::string DataRelay::withoutIpcp(const std::string &bytes)
{
    std::string others;
    for (const char byte : bytes) {
        m_frame += byte;
        if (byte != Flag)
            continue;
        others += isIpcp(m_frame) ? std::string(1, Flag) : m_frame;
        m_frame.clear();
    }
    return others;
}

void DataRelay::flush()
{
    while (m_networkSpoke && !m_hungUp && !m_toNetwork.empty()) {
        const ssize_t written = ::write(m_master.get(), m_toNetwork.data(), m_toNetwork.size());
        if (written <= 0)
            return;
        m_toNetwork.erase(0, static_cast<size_t>(written));
    }
}

} // namespace modem
