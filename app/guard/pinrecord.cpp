#include "app/guard/pinrecord.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace guard
{

namespace
{

constexpr int MaxAncestors = 8;
constexpr std::size_t MaxFile = 65536;

/** @return the start of a file, at most MaxFile bytes; empty when it cannot be read */
std::string contentOf(const std::string &path, int flags)
{
    std::string content;
    // Non-blocking, because the path could be a FIFO.
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | flags);
    if (fd == -1)
        return content;
    char buffer[4096];
    ssize_t got;
    while (content.size() < MaxFile && (got = read(fd, buffer, sizeof buffer)) > 0)
        content.append(buffer, static_cast<std::size_t>(got));
    close(fd);
    return content;
}

struct Process {
    std::string command;
    std::string started; ///< in clock ticks since boot
    long parent = 0;
};

/** Read /proc/PID/stat (proc(5)): fields 2, 4 and 22; the command may contain spaces and
 * parentheses. */
Process processOf(long pid)
{
    Process process;
    const std::string stat = contentOf("/proc/" + std::to_string(pid) + "/stat", 0);
    const std::size_t open = stat.find('(');
    const std::size_t close = stat.rfind(") ");
    if (open == std::string::npos || close == std::string::npos)
        return process;
    process.command = stat.substr(open + 1, close - open - 1);
    std::size_t field = close + 2;
    for (int number = 3; number < 22 && field != std::string::npos; ++number) {
        if (number == 4)
            process.parent = std::strtol(stat.c_str() + field, nullptr, 10);
        field = stat.find(' ', field);
        field = field == std::string::npos ? field : field + 1;
    }
    if (field != std::string::npos)
        process.started = stat.substr(field, stat.find(' ', field) - field);
    return process;
}

bool isShell(const std::string &command)
{
    return command == "sh" || command == "dash" || command == "bash" || command == "busybox";
}

} // namespace

std::string callingPppd()
{
    long pid = getppid();
    for (int i = 0; i < MaxAncestors && pid > 0; ++i) {
        const Process process = processOf(pid);
        if (process.started.empty())
            break;
        if (!isShell(process.command))
            return std::to_string(pid) + ' ' + process.started + '\n';
        pid = process.parent;
    }
    return {};
}

bool isRecorded(const std::string &path, const std::string &pppd)
{
    return !pppd.empty() && contentOf(path, O_NOFOLLOW) == pppd;
}

bool writeRecord(const std::string &path, const std::string &pppd)
{
    if (pppd.empty()) {
        errno = ESRCH;
        return false;
    }
    const std::string fresh = path + ".new";
    unlink(fresh.c_str());
    const int fd = open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd == -1)
        return false;
    const bool written = write(fd, pppd.data(), pppd.size()) == static_cast<ssize_t>(pppd.size());
    if (close(fd) == 0 && written && rename(fresh.c_str(), path.c_str()) == 0)
        return true;
    const int error = errno;
    unlink(fresh.c_str());
    errno = error;
    return false;
}

void deleteRecord(const std::string &path)
{
    unlink(path.c_str());
}

bool sendsPin(const std::string &chatScript)
{
    return contentOf(chatScript, 0).find("AT+CPIN=") != std::string::npos;
}

} // namespace guard
