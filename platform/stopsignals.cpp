#include "platform/stopsignals.h"

#include <QApplication>
#include <QSocketNotifier>
#include <cerrno>
#include <csignal>
#include <sys/eventfd.h>
#include <unistd.h>

namespace
{

constexpr int Numbers[] = {SIGTERM, SIGINT, SIGHUP};

int eventFd = -1; // Never closed: the handlers use it until the process exits.
bool stopReceived = false;

void noteSignal(int)
{
    const int savedErrno = errno;
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(eventFd, &one, sizeof one);
    errno = savedErrno;
}

/** Block or unblock the signals. @param how SIG_BLOCK or SIG_UNBLOCK */
void mask(int how)
{
    sigset_t held;
    sigemptyset(&held);
    for (const int number : Numbers)
        sigaddset(&held, number);
    ::sigprocmask(how, &held, nullptr);
}

} // namespace

void StopSignals::hold()
{
    mask(SIG_BLOCK);
}

StopSignals::StopSignals()
{
    eventFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (eventFd == -1) {
        mask(SIG_UNBLOCK); // Without an eventfd, keep the existing signal handlers.
        return;
    }
    auto *notifier = new QSocketNotifier(eventFd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &StopSignals::stop);
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int number : Numbers)
        ::sigaction(number, &action, nullptr);
    mask(SIG_UNBLOCK);
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
