#include "io/ownground.h"

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
            ::open("/dev/null", O_RDWR); // Takes the lowest free number, this one.
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
 * Makes writes to a pipe, a terminal or a socket fail rather than wait. A pipe or terminal is
 * opened anew, because the flag would hold for all who share the descriptor.
 */
void neverBlock(int fd)
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
    else if (S_ISSOCK(info.st_mode) || S_ISFIFO(info.st_mode)) // a pipe that nobody reads now
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
}

} // namespace

void makeOwnGround()
{
    openStandardDescriptors();
    resetSignals();
    neverBlock(STDOUT_FILENO);
    neverBlock(STDERR_FILENO);
}
