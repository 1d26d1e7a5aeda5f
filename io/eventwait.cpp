#include "io/eventwait.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

namespace
{

/** Process events for one interval. @return false when the wait was cancelled */
bool processEventsFor(std::chrono::milliseconds interval, const std::function<bool()> &cancelled)
{
    bool over = false;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &timer, [&over] { over = true; });
    timer.start(interval);
    while (!over) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        if (cancelled && cancelled())
            return false;
    }
    return true;
}

} // namespace

WaitResult waitWithEvents(const EventWait &wait)
{
    const QDeadlineTimer deadline = wait.timeout ? QDeadlineTimer(*wait.timeout, Qt::PreciseTimer)
                                                 : QDeadlineTimer(QDeadlineTimer::Forever);
    for (;;) {
        QCoreApplication::processEvents();
        if (wait.cancelled && wait.cancelled())
            return WaitResult::Cancelled;
        if (wait.ready())
            return WaitResult::Ready;
        if (deadline.hasExpired())
            return WaitResult::TimedOut;
        if (!processEventsFor(wait.interval, wait.cancelled))
            return WaitResult::Cancelled;
    }
}
