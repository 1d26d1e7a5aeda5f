// The AT command port of the dongle, opened for one exchange.
#pragma once

#include "filedescriptor.h"

#include <QByteArray>

class AtPort
{
public:
    /**
     * Opens a serial device non-blocking, without making it the controlling terminal and without
     * touching its line settings.
     */
    explicit AtPort(const char *path);

    bool isOpen() const { return m_port.isOpen(); }

    /** @return whether the write did not fail */
    bool write(const QByteArray &bytes);

    /** One read. @return at most 128 bytes; empty when nothing is there or the read failed */
    QByteArray readChunk();

    /** @return the result of close(2) */
    int close() { return m_port.close(); }

private:
    FileDescriptor m_port;
};
