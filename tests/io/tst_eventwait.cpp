// How waits that process events end early. The end-to-end tests cover intervals and timeouts.
#include "io/eventwait.h"

#include <QtTest>

using namespace std::chrono_literals;

class EventWaitTest : public QObject
{
    Q_OBJECT

private slots:
    void endsWhenCancelled();
    void doesNotSpinAfterQuit();
};

void EventWaitTest::endsWhenCancelled()
{
    bool gone = false;
    int probes = 0;
    QTimer::singleShot(20ms, this, [&] { gone = true; });
    QElapsedTimer time;
    time.start();
    const auto result =
        waitWithEvents({[&] { return ++probes > 1; }, [&] { return gone; }, 60000ms});
    QCOMPARE(result, WaitResult::Cancelled);
    QVERIFY(time.elapsed() < 5000);
    QCOMPARE(probes, 1);
}

void EventWaitTest::doesNotSpinAfterQuit()
{
    int probes = 0;
    auto result = WaitResult::Ready;
    QTimer::singleShot(0, this, [&] {
        QCoreApplication::quit(); // from now on, nested event loops return immediately
        result = waitWithEvents({[&] { return ++probes == 0; }, {}, 50ms, 200ms});
    });
    QCoreApplication::exec();
    QCOMPARE(result, WaitResult::TimedOut);
    QVERIFY2(probes <= 6, qPrintable(QString::number(probes)));
}

QTEST_GUILESS_MAIN(EventWaitTest)
#include "tst_eventwait.moc"
