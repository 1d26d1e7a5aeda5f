#include "platform/terminationsignals.h"

#include <QApplication>
#include <QSocketNotifier>
#include <cerrno>
#include <csignal>
#include <sys/eventfd.h>
#include <unistd.h>

namespace
{

constexpr int Signals[] = {SIGTERM, SIGINT, SIGHUP};

int eventFd = -1; // Never closed: the handlers use it until the process exits.
bool terminationReceived = false;

void onSignal(int)
{
    const int savedErrno = errno;
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(eventFd, &one, sizeof one);
    errno = savedErrno;
}

/** Block or unblock the signals. */
void setBlocked(bool blocked)
{
    sigset_t held;
    sigemptyset(&held);
    for (const int number : Signals)
        sigaddset(&held, number);
    ::sigprocmask(blocked ? SIG_BLOCK : SIG_UNBLOCK, &held, nullptr);
}

} // namespace

void TerminationSignals::block()
{
    setBlocked(true);
}

TerminationSignals::TerminationSignals()
{
    eventFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (eventFd == -1) {
        setBlocked(false); // Without an eventfd, keep the existing signal handlers.
        return;
    }
    auto *notifier = new QSocketNotifier(eventFd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &TerminationSignals::stop);
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int number : Signals)
        ::sigaction(number, &action, nullptr);
    setBlocked(false);
}

bool TerminationSignals::received()
{
    return terminationReceived;
}

void TerminationSignals::stop()
{
    uint64_t count;
    [[maybe_unused]] const ssize_t got = ::read(eventFd, &count, sizeof count);
    terminationReceived = true;
    QApplication::closeAllWindows();
    QCoreApplication::quit();
}
