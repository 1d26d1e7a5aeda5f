#include "io/processsetup.h"

#include "io/filedescriptor.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

namespace
{

void openStandardDescriptors()
{
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(fd, F_GETFD) == -1)
            ::open("/dev/null", O_RDWR); // open() returns the lowest free number, which is fd.
    }
}

void resetSignals()
{
    std::signal(SIGUSR1, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGCHLD, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/**
 * Make writes to a pipe, terminal or socket fail instead of block. A pipe or terminal is reopened,
 * because O_NONBLOCK would otherwise affect every process that shares the open file description.
 */
void setNonBlocking(int fd)
{
    struct stat info;
    if (::fstat(fd, &info) == -1)
        return;
    FileDescriptor own;
    if (S_ISFIFO(info.st_mode) || S_ISCHR(info.st_mode)) {
        char path[32];
        std::snprintf(path, sizeof path, "/proc/self/fd/%d", fd);
        own = FileDescriptor(::open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    }
    if (own.isOpen())
        ::dup2(own.get(), fd);
    else if (S_ISSOCK(info.st_mode) || S_ISFIFO(info.st_mode)) // a pipe without a reader (ENXIO)
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
}

} // namespace

void setUpProcess()
{
    openStandardDescriptors();
    resetSignals();
    setNonBlocking(STDOUT_FILENO);
    setNonBlocking(STDERR_FILENO);
}
