#include "simulator/programs/modem/serialport.h"

#include <cerrno>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace modem
{

int SerialPort::open()
{
    close();
    FileDescriptor fd(::open(m_path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!fd.isOpen())
        return -errno;
    if (::isatty(fd.get()) != 1)
        return -ENOTTY;
    m_fd = std::move(fd);
    const int result = configure();
    if (result != 0)
        close();
    return result;
}

void SerialPort::close()
{
    m_pending.clear();
    if (!m_fd.isOpen())
        return;
    ::tcflush(m_fd.get(), TCIOFLUSH);
    m_fd.close();
}

int SerialPort::configure()
{
    termios settings = {};
    if (::tcgetattr(m_fd.get(), &settings) == -1)
        return -errno;
    ::cfmakeraw(&settings);
    settings.c_cflag |= CLOCAL | CREAD;
    settings.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS | HUPCL);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    ::cfsetspeed(&settings, B115200);
    return ::tcsetattr(m_fd.get(), TCSANOW, &settings) == -1 ? -errno : 0;
}

SerialPort::Status SerialPort::read(std::string &bytes)
{
    char buffer[512];
    const ssize_t length = ::read(m_fd.get(), buffer, sizeof buffer);
    if (length > 0) {
        bytes.append(buffer, static_cast<size_t>(length));
        return Status::Ok;
    }
    return length == -1 && (errno == EAGAIN || errno == EINTR) ? Status::Ok : Status::Lost;
}

SerialPort::Status SerialPort::write(const std::string &bytes)
{
    if (!isOpen())
        return Status::Ok;
    m_pending.append(bytes, 0, MaxPending - m_pending.size());
    return flush();
}

SerialPort::Status SerialPort::flush()
{
    while (!m_pending.empty()) {
        const ssize_t written = ::write(m_fd.get(), m_pending.data(), m_pending.size());
        if (written == -1)
            return errno == EAGAIN || errno == EINTR ? Status::Ok : Status::Lost;
        if (written == 0)
            return Status::Ok;
        m_pending.erase(0, static_cast<size_t>(written));
    }
    return Status::Ok;
}

} // namespace modem
