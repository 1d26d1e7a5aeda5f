// The controller's signal bridge: delivers SIGUSR1 to the event loop.
#include "app/makeup.h"

#include <QSocketNotifier>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

int Makeup::sigUsrFd[2] = {0, 0};

namespace
{

void setCloseOnExecAndNonBlocking(int fd)
{
    ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
}

} // namespace

void Makeup::createSignalBridge()
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, sigUsrFd) != 0)
        qFatal("Couldn't create USR socketpair");
    // A few hundred unread bytes fill the socket buffer. The handler then drops its byte, because
    // checks are pending anyway; a blocking write would deadlock the GUI thread, the only reader.
    setCloseOnExecAndNonBlocking(sigUsrFd[0]);
    setCloseOnExecAndNonBlocking(sigUsrFd[1]);
    sigUsrNotifier = new QSocketNotifier(sigUsrFd[1], QSocketNotifier::Read, this);
    connect(sigUsrNotifier, &QSocketNotifier::activated, this, &Makeup::handleSigUsr);
    setup_unix_signal_handlers();
}

int Makeup::setup_unix_signal_handlers()
{
    struct sigaction action = {};
    action.sa_handler = usrSignalHandler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    return ::sigaction(SIGUSR1, &action, nullptr);
}

void Makeup::usrSignalHandler(int)
{
    const int savedErrno = errno;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(sigUsrFd[0], &byte, sizeof byte);
    errno = savedErrno;
}

void Makeup::handleSigUsr()
{
    sigUsrNotifier->setEnabled(false);
    char byte;
    [[maybe_unused]] const ssize_t count = ::read(sigUsrFd[1], &byte, sizeof byte);
    if (isScreenBuilt())
        checkPPPConnect();
    sigUsrNotifier->setEnabled(true);
}
