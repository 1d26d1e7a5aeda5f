// The AT command port of the dongle, opened for one exchange.
#pragma once

#include "io/filedescriptor.h"

#include <QByteArray>
#include <chrono>

class AtPort
{
public:
    /**
     * Open a serial device in non-blocking mode. The device does not become the controlling
     * terminal, and its line settings are not changed. On failure, log a warning.
     */
    explicit AtPort(const char *path);

    [[nodiscard]] bool isOpen() const { return m_port.isOpen(); }

    /** Write once. @return false when write(2) fails */
    [[nodiscard]] bool write(const QByteArray &bytes);

    /** Read once. @return up to 128 bytes; empty when no data is available or read(2) fails */
    [[nodiscard]] QByteArray readChunk();

    /** Send a command and wait for OK or an error. Earlier input is dropped. Blocks the caller.
     *  @return the response; empty when it is longer than 4 KiB or not complete in time, or when
     *          write(2) fails */
    [[nodiscard]] QByteArray ask(const QByteArray &command, std::chrono::milliseconds timeout);

    /** Close the device. @return the result of close(2) */
    int close() { return m_port.close(); }

private:
    FileDescriptor m_port;
};
