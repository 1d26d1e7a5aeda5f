#include "io/atport.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QThread>
#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace
{

constexpr qsizetype MaxAnswer = 4096;
constexpr unsigned long ReadPauseMs = 10;

} // namespace

AtPort::AtPort(const char *path) : m_port(::open(path, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
{
    if (!m_port.isOpen() || ::fcntl(m_port.get(), F_SETFL, O_NONBLOCK) == -1)
        qWarning("%s: %s", path, strerror(errno));
}

bool AtPort::write(const QByteArray &bytes)
{
    return ::write(m_port.get(), bytes.constData(), bytes.size()) != -1;
}

QByteArray AtPort::readChunk()
{
    QByteArray chunk(128, Qt::Uninitialized);
    const ssize_t count = ::read(m_port.get(), chunk.data(), chunk.size());
    chunk.truncate(count > 0 ? count : 0);
    return chunk;
}

QByteArray AtPort::ask(const QByteArray &command, std::chrono::milliseconds timeout)
{
    const QDeadlineTimer deadline(timeout);
    while (!readChunk().isEmpty() && !deadline.hasExpired()) {
    }
    QByteArray answer;
    if (!write(command + '\r'))
        return answer;
    while (!answer.contains("\nOK\r") && !answer.contains("ERROR")) {
        if (deadline.hasExpired() || answer.size() > MaxAnswer)
            return {};
        answer += readChunk();
        QThread::msleep(ReadPauseMs);
    }
    return answer;
}
