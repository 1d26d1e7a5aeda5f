// Small owners and helpers over the POSIX calls that the simulator needs.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace modem
{

/** Owns one file descriptor. */
class UniqueFd
{
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(UniqueFd &&other) noexcept : m_fd(other.release()) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept;
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;

    int get() const { return m_fd; }
    bool valid() const { return m_fd != -1; }
    int release();
    void reset();

private:
    int m_fd = -1;
};

/**
 * Starts a program, found through PATH, with standard input from /dev/null and both outputs
 * appended to a file. It gets SIGTERM when this process dies, whatever it dies of.
 * @param arguments program first; @param output file for its output, empty for /dev/null.
 * @param prepare runs in the new process before the program does; false ends it.
 * @return its process id, or -errno. A program that cannot be executed ends with status 127.
 */
pid_t startProgram(const std::vector<std::string> &arguments, const std::string &output,
                   const std::function<bool()> &prepare = nullptr);

/** Runs a program to its end. @return its exit status, or -1 when it could not be run. */
int runProgram(const std::vector<std::string> &arguments, const std::string &output);

/** Writes a whole file, mode 0600. @return 0 or -errno. */
int writePrivateFile(const std::string &path, const std::string &content);

} // namespace modem
