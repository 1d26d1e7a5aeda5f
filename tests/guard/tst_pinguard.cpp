// The PIN guard: its exchange with a modem on a pseudo-terminal, and its decision whether to dial.
#include "app/guard/modemport.h"
#include "app/guard/pinrecord.h"
#include "app/guard/simquery.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using guard::SimState;
using guard::Verdict;

Q_DECLARE_METATYPE(guard::SimState)
Q_DECLARE_METATYPE(guard::Verdict)

class PinGuardTest : public QObject
{
    Q_OBJECT

private slots:
    void verdict_data();
    void verdict();
    void modem_data();
    void modem();
    void endsOnASignal();
    void record();
};

namespace
{

/** Answer each command, which ends in a carriage return, byte by byte. */
void serve(int master, const QByteArrayList &answers)
{
    char byte = 0;
    for (const QByteArray &answer : answers) {
        while (byte != '\r') {
            if (read(master, &byte, 1) != 1)
                return;
        }
        byte = 0;
        for (char part : answer)
            (void)!write(master, &part, 1);
    }
}

} // namespace

void PinGuardTest::verdict_data()
{
    QTest::addColumn<SimState>("state");
    QTest::addColumn<bool>("scriptSendsPin");
    QTest::addColumn<bool>("pinWasSent");
    QTest::addColumn<Verdict>("wanted");
    QTest::newRow("first try") << SimState::Pin << true << false << Verdict::DialAndRecord;
    QTest::newRow("still asked for") << SimState::Pin << true << true << Verdict::RefusePin;
    QTest::newRow("nothing to spend") << SimState::Pin << false << true << Verdict::Dial;
    QTest::newRow("it worked") << SimState::Ready << true << true << Verdict::DialAndDelete;
    QTest::newRow("PUK") << SimState::Puk << true << false << Verdict::RefusePuk;
    QTest::newRow("silence keeps the record") << SimState::Unknown << true << true << Verdict::Dial;
}

void PinGuardTest::verdict()
{
    QFETCH(SimState, state);
    QFETCH(bool, scriptSendsPin);
    QFETCH(bool, pinWasSent);
    QTEST(guard::decide(state, scriptSendsPin, pinWasSent), "wanted");
}

void PinGuardTest::modem_data()
{
    QTest::addColumn<QByteArray>("stale");
    QTest::addColumn<QByteArrayList>("answers"); // one per command, in order
    QTest::addColumn<SimState>("wanted");
    const auto row = [](const char *name, const QByteArrayList &answers, SimState wanted,
                        const QByteArray &stale = {}) {
        QTest::newRow(name) << stale << answers << wanted;
    };
    row("ready", {"\r\n+CPIN: READY\r\n\r\nOK\r\n"}, SimState::Ready);
    row("PIN, echoed", {"AT+CPIN?\r\r\n+CPIN: SIM PIN\r\n\r\nOK\r\n"}, SimState::Pin);
    row("PUK", {"+CPIN: SIM PUK\r\nOK\r\n"}, SimState::Puk);
    row("PUK2", {"+CPIN: SIM PUK2\r\nOK\r\n"}, SimState::Puk);
    row("of other use", {"+CPIN: SIM PIN2\r\nOK\r\n"}, SimState::Pin);
    row("unsolicited lines", {"^RSSI:17\r\n+CPIN: SIM PIN\r\n^BOOT:1,0\r\nOK\r\n"}, SimState::Pin);
    row("an earlier OK", {"OK\r\n+CPIN: SIM PIN\r\nOK\r\n"}, SimState::Pin);
    row("stale input", {"+CPIN: SIM PIN\r\nOK\r\n"}, SimState::Pin, "+CPIN: READY\r\nOK\r\n");
    row("garbage", {QByteArray(9000, '\x80') + "\r\n+CPIN: SIM PIN\r\nOK\r\n"}, SimState::Pin);
    row("busy at first", {"+CME ERROR: 14\r\n", "+CPIN: SIM PIN\r\nOK\r\n"}, SimState::Pin);
    row("slow at first", {"", "+CPIN: SIM PIN\r\nOK\r\n"}, SimState::Pin);
    row("refused", QByteArrayList(20, "ERROR\r\n"), SimState::Unknown);
    row("silence", {}, SimState::Unknown);
    row("no final code", {"+CPIN: SIM PIN\r\n"}, SimState::Unknown);
}

void PinGuardTest::modem()
{
    QFETCH(QByteArray, stale);
    QFETCH(QByteArrayList, answers);
    int master = -1;
    int port = -1;
    QCOMPARE(openpty(&master, &port, nullptr, nullptr, nullptr), 0);
    termios before{};
    QCOMPARE(tcgetattr(port, &before), 0);
    const int flags = fcntl(port, F_GETFL);
    QCOMPARE(write(master, stale.constData(), stale.size()), stale.size());
    int delivered = 0; // A thread of the kernel delivers what was written.
    QTRY_VERIFY(ioctl(port, FIONREAD, &delivered) == 0 && delivered == stale.size());

    std::thread modem(serve, master, answers);
    const auto begin = std::chrono::steady_clock::now();
    const SimState state = guard::ModemPort(port).ask(std::chrono::milliseconds(2500));
    const auto spent = std::chrono::steady_clock::now() - begin;
    termios after{};
    tcgetattr(port, &after);
    const int flagsAfter = fcntl(port, F_GETFL);
    pollfd leftover{port, POLLIN, 0};
    const int unread = poll(&leftover, 1, 0);
    close(port); // ends the modem's read
    modem.join();
    close(master);

    QTEST(state, "wanted");
    QVERIFY(spent < std::chrono::milliseconds(4000));
    QVERIFY(after.c_lflag == before.c_lflag && after.c_iflag == before.c_iflag &&
            after.c_cflag == before.c_cflag && flagsAfter == flags);
    QCOMPARE(unread, 0);
}

void PinGuardTest::endsOnASignal()
{
    int master = -1;
    int port = -1;
    QCOMPARE(openpty(&master, &port, nullptr, nullptr, nullptr), 0);
    guard::handleTerminationSignals();
    raise(SIGTERM);
    QCOMPARE(guard::ModemPort(port).ask(std::chrono::hours(1)), SimState::Unknown);
    QVERIFY(guard::terminationReceived());
    close(port);
    close(master);
}

void PinGuardTest::record()
{
    const QTemporaryDir directory;
    const std::string path = directory.filePath("record").toStdString();
    const std::string pppd =
        guard::callingPppd(); // in a test: the first ancestor that is not a shell
    QVERIFY(QRegularExpression("^\\d+ \\d+\n$").match(QString::fromStdString(pppd)).hasMatch());
    QVERIFY(!guard::isRecorded(path, pppd));
    QVERIFY(guard::writeRecord(path, pppd));
    QVERIFY(guard::isRecorded(path, pppd));
    QVERIFY(!guard::isRecorded(path, "1 2\n")); // another pppd, possibly with a reused process ID
    struct stat status {
    };
    stat(path.c_str(), &status);
    QCOMPARE(status.st_mode & 07777U, 0600U);
    guard::deleteRecord(path);
    QVERIFY(!guard::isRecorded(path, pppd));
    QVERIFY(!guard::writeRecord(directory.filePath("none/record").toStdString(), pppd));
}

QTEST_GUILESS_MAIN(PinGuardTest)
#include "tst_pinguard.moc"
