// Owner of a file descriptor, which it closes on destruction.
#pragma once

#include <unistd.h>
#include <utility>

class FileDescriptor
{
public:
    /** @param fd open file descriptor to take ownership of, or -1 */
    explicit FileDescriptor(int fd = -1) : m_fd(fd) {}
    FileDescriptor(FileDescriptor &&other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~FileDescriptor() { close(); }

    [[nodiscard]] bool isOpen() const { return m_fd != -1; }
    [[nodiscard]] int get() const { return m_fd; }

    /** Close the descriptor. @return the result of close(2); 0 when none was open */
    int close() { return m_fd == -1 ? 0 : ::close(std::exchange(m_fd, -1)); }

private:
    int m_fd;
};
