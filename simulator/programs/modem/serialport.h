// The dongle's end of the serial line.
#pragma once

#include "io/filedescriptor.h"

#include <string>

namespace modem
{

/**
 * A raw, non-blocking serial line that comes and goes with the USB plug. It never becomes the
 * controlling terminal, and writing never waits: what the line does not take yet is kept.
 */
class SerialPort
{
public:
    enum class Status { Ok, Lost };

    /** Most bytes that are kept for a line that takes none; more are dropped. */
    static constexpr size_t MaxPending = 65536;

    explicit SerialPort(const std::string &path) : m_path(path) {}
    ~SerialPort() { close(); }

    /** @return 0, or -errno (-ENOTTY when the path is no terminal) */
    int open();

    /** Discards what has not been sent, so that the driver does not wait for it, and closes. */
    void close();

    bool isOpen() const { return m_fd.isOpen(); }
    int descriptor() const { return m_fd.get(); }
    const std::string &path() const { return m_path; }

    /** Appends what has arrived. @return Lost when the other end hung up */
    Status read(std::string &bytes);

    /** Queues bytes and sends what the line takes. A closed line swallows them. */
    Status write(const std::string &bytes);

    /** Sends more of what is queued. */
    Status flush();

    bool hasPending() const { return !m_pending.empty(); }

private:
    int configure();

    std::string m_path;
    std::string m_pending;
    FileDescriptor m_fd;
};

} // namespace modem
