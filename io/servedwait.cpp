#include "io/servedwait.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

namespace
{

/** Process events for one interval. @return false when the wait was abandoned */
bool serveFor(std::chrono::milliseconds interval, const std::function<bool()> &abandoned)
{
    bool over = false;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &timer, [&over] { over = true; });
    timer.start(interval);
    while (!over) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        if (abandoned && abandoned())
            return false;
    }
    return true;
}

} // namespace

WaitResult waitServed(const ServedWait &wait)
{
    const QDeadlineTimer deadline = wait.limit ? QDeadlineTimer(*wait.limit, Qt::PreciseTimer)
                                               : QDeadlineTimer(QDeadlineTimer::Forever);
    for (;;) {
        QCoreApplication::processEvents();
        if (wait.abandoned && wait.abandoned())
            return WaitResult::Abandoned;
        if (wait.ready())
            return WaitResult::Ready;
        if (deadline.hasExpired())
            return WaitResult::TimedOut;
        if (!serveFor(wait.interval, wait.abandoned))
            return WaitResult::Abandoned;
    }
}
