#include "io/atport.h"

#include <QDebug>
#include <cerrno>
#include <cstring>
#include <fcntl.h>

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
