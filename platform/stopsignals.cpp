#include "platform/stopsignals.h"

#include <QApplication>
#include <QSocketNotifier>
#include <cerrno>
#include <csignal>
#include <sys/eventfd.h>
#include <unistd.h>

namespace
{

int eventFd = -1; // Open until the process ends, as its handlers are.
bool stopReceived = false;

void noteSignal(int)
{
    const int savedErrno = errno;
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(eventFd, &one, sizeof one);
    errno = savedErrno;
}

} // namespace

StopSignals::StopSignals()
{
    eventFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (eventFd == -1)
        return; // The signals end the process as they always do.
    auto *notifier = new QSocketNotifier(eventFd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &StopSignals::stop);
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(number, &action, nullptr);
}

bool StopSignals::received()
{
    return stopReceived;
}

void StopSignals::stop()
{
    uint64_t count;
    [[maybe_unused]] const ssize_t got = ::read(eventFd, &count, sizeof count);
    stopReceived = true;
    QApplication::closeAllWindows();
    QCoreApplication::quit();
}
