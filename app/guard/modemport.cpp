#include "app/guard/modemport.h"

#include "core/dongleid.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace guard
{

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds AnswerTime{1000}; // timeout of one command
constexpr milliseconds PauseTime{250};   // after an error: the SIM may be starting
constexpr milliseconds QuietTime{50};    // silence after which the response is complete
constexpr int TerminationSignals[] = {SIGTERM, SIGHUP, SIGINT};

volatile std::sig_atomic_t terminated = 0;

void onSignal(int)
{
    terminated = 1;
}

} // namespace

std::string otherUsbDevice(int fd)
{
    struct stat port {
    };
    if (fstat(fd, &port) == -1 || !S_ISCHR(port.st_mode))
        return {};
    // Up from the port's device over its USB interface to the USB device.
    const std::string device = "/sys/dev/char/" + std::to_string(major(port.st_rdev)) + ':' +
                               std::to_string(minor(port.st_rdev)) + "/device/../../";
    std::string vendor;
    std::string product;
    if (!std::getline(std::ifstream(device + "idVendor"), vendor) ||
        !std::getline(std::ifstream(device + "idProduct"), product))
        return {};
    const bool isDongle = std::strtoul(vendor.c_str(), nullptr, 16) == DongleVendor &&
                          std::strtoul(product.c_str(), nullptr, 16) == DongleProduct;
    return isDongle ? std::string() : vendor + ':' + product;
}

void handleTerminationSignals()
{
    struct sigaction action {
    };
    action.sa_handler = onSignal;
    for (int signal : TerminationSignals)
        sigaction(signal, &action, nullptr);
}

bool terminationReceived()
{
    return terminated != 0;
}

ModemPort::ModemPort(int fd) : m_fd(fd), m_flags(fcntl(fd, F_GETFL))
{
    if (m_flags == -1 || tcgetattr(fd, &m_modes) == -1)
        return;
    termios raw = m_modes;
    cfmakeraw(&raw);
    raw.c_cflag |= CLOCAL | CREAD;
    m_usable = tcsetattr(fd, TCSANOW, &raw) == 0 && fcntl(fd, F_SETFL, m_flags | O_NONBLOCK) == 0;
    tcflush(fd, TCIFLUSH);
}

ModemPort::~ModemPort()
{
    if (m_flags == -1)
        return;
    tcflush(m_fd, TCIFLUSH);
    // TCSANOW: an unplugged or blocked port never drains.
    tcsetattr(m_fd, TCSANOW, &m_modes);
    fcntl(m_fd, F_SETFL, m_flags);
}

SimState ModemPort::ask(milliseconds limit)
{
    const auto end = Clock::now() + limit;
    SimState state = SimState::Unknown;
    while (m_usable && !terminationReceived() && Clock::now() < end) {
        const SimAnswer answer = askOnce(std::min(end, Clock::now() + AnswerTime));
        state = answer.state();
        dropUntilQuiet(end);
        if (state != SimState::Unknown)
            break;
        if (answer.isComplete())
            pauseUntil(std::min(end, Clock::now() + PauseTime));
    }
    return state;
}

SimAnswer ModemPort::askOnce(Clock::time_point end)
{
    SimAnswer answer;
    if (!send("AT+CPIN?\r", end))
        return answer;
    char buffer[256];
    while (!answer.isComplete() && await(POLLIN, end)) {
        const ssize_t got = read(m_fd, buffer, sizeof buffer);
        if (got > 0)
            answer.feed(buffer, static_cast<std::size_t>(got));
        else if (got == 0 || errno != EAGAIN)
            m_usable = false;
    }
    return answer;
}

bool ModemPort::send(const char *command, Clock::time_point end)
{
    const char *rest = command;
    while (*rest != '\0' && await(POLLOUT, end)) {
        const ssize_t sent = write(m_fd, rest, std::strlen(rest));
        if (sent > 0)
            rest += sent;
        else if (errno != EAGAIN)
            m_usable = false;
    }
    return *rest == '\0';
}

/** @return true when the port is ready. An unplugged port counts as ready: the next call on it
 *          fails. */
bool ModemPort::await(short events, Clock::time_point end)
{
    const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
    if (!m_usable || terminationReceived() || left.count() <= 0)
        return false;
    pollfd port{m_fd, events, 0};
    // Not ppoll(): the fortified version in glibc 2.36 misreads 64-bit times on 32-bit boards. A
    // signal just before the call takes effect only after this wait.
    return poll(&port, 1, static_cast<int>(left.count())) == 1;
}

void ModemPort::pauseUntil(Clock::time_point end)
{
    await(0, end);
}

void ModemPort::dropUntilQuiet(Clock::time_point end)
{
    char buffer[256];
    while (await(POLLIN, std::min(end, Clock::now() + QuietTime))) {
        if (read(m_fd, buffer, sizeof buffer) <= 0 && errno != EAGAIN)
            m_usable = false;
    }
}

} // namespace guard
