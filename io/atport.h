// The AT command port of the dongle, opened for one exchange.
#pragma once

#include "io/filedescriptor.h"

#include <QByteArray>

class AtPort
{
public:
    /**
     * Opens a serial device non-blocking. It does not become the controlling terminal, and its line
     * settings stay as they are.
     */
    explicit AtPort(const char *path);

    bool isOpen() const { return m_port.isOpen(); }

    /** @return false when write(2) fails */
    bool write(const QByteArray &bytes);

    /** Reads once. @return at most 128 bytes; none when nothing has arrived or read(2) fails */
    QByteArray readChunk();

    /** @return the result of close(2) */
    int close() { return m_port.close(); }

private:
    FileDescriptor m_port;
};
