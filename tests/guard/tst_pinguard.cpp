// The program before each dial: how it reads the modem on a real terminal, and what it decides.
#include "app/guard/modemport.h"
#include "app/guard/pinmemory.h"
#include "app/guard/simquery.h"

#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using guard::SimState;
using guard::Verdict;

Q_DECLARE_METATYPE(guard::SimState)
Q_DECLARE_METATYPE(guard::Verdict)

class TestPinGuard : public QObject
{
    Q_OBJECT

private slots:
    void verdict_data();
    void verdict();
    void modem_data();
    void modem();
    void endedBySignal();
    void memory();
};

void TestPinGuard::verdict_data()
{
    QTest::addColumn<SimState>("state");
    QTest::addColumn<bool>("scriptSendsPin");
    QTest::addColumn<bool>("pinWasSent");
    QTest::addColumn<Verdict>("wanted");
    QTest::newRow("first try") << SimState::Pin << true << false << Verdict::DialAndRemember;
    QTest::newRow("still asked for") << SimState::Pin << true << true << Verdict::RefusePin;
    QTest::newRow("nothing to spend") << SimState::Pin << false << true << Verdict::Dial;
    QTest::newRow("it worked") << SimState::Ready << true << true << Verdict::DialAndForget;
    QTest::newRow("PUK") << SimState::Puk << true << false << Verdict::RefusePuk;
    QTest::newRow("silence keeps the memory") << SimState::Unknown << true << true << Verdict::Dial;
}

void TestPinGuard::verdict()
{
    QFETCH(SimState, state);
    QFETCH(bool, scriptSendsPin);
    QFETCH(bool, pinWasSent);
    QTEST(guard::decide(state, scriptSendsPin, pinWasSent), "wanted");
}

void TestPinGuard::modem_data()
{
    QTest::addColumn<QByteArray>("stale");
    QTest::addColumn<QByteArrayList>("answers"); // to one question after the other
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

/** Answers each question that ends in a carriage return, byte by byte. */
static void serve(int master, const QByteArrayList &answers)
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

void TestPinGuard::modem()
{
    QFETCH(QByteArray, stale);
    QFETCH(QByteArrayList, answers);
    int master = -1;
    int slave = -1;
    QCOMPARE(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
    termios before{};
    tcgetattr(slave, &before);
    const int flags = fcntl(slave, F_GETFL);
    QCOMPARE(write(master, stale.constData(), stale.size()), stale.size());

    std::thread modem(serve, master, answers);
    const auto begin = std::chrono::steady_clock::now();
    const SimState state = guard::ModemPort(slave).ask(std::chrono::milliseconds(2500));
    QVERIFY(std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(4000));

    termios after{};
    tcgetattr(slave, &after);
    QCOMPARE(after.c_lflag, before.c_lflag);
    QCOMPARE(after.c_iflag, before.c_iflag);
    QCOMPARE(after.c_cflag, before.c_cflag);
    QCOMPARE(fcntl(slave, F_GETFL), flags);
    pollfd leftover{slave, POLLIN, 0};
    QCOMPARE(poll(&leftover, 1, 0), 0);
    close(slave); // ends the modem's read
    modem.join();
    close(master);
    QTEST(state, "wanted");
}

void TestPinGuard::endedBySignal()
{
    int master = -1;
    int slave = -1;
    QCOMPARE(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
    guard::catchEndingSignals();
    raise(SIGTERM);
    QCOMPARE(guard::ModemPort(slave).ask(std::chrono::hours(1)), SimState::Unknown);
    QVERIFY(guard::wasEnded());
    close(slave);
    close(master);
}

/** What a child of this process takes for its pppd: this process may itself run in a shell. */
static std::string pppdOfAChild()
{
    int ends[2];
    char name[64] = {};
    if (pipe(ends) == -1)
        return {};
    const pid_t child = fork();
    if (child == 0) {
        const std::string pppd = guard::callingPppd();
        _exit(write(ends[1], pppd.data(), pppd.size()) == -1);
    }
    waitpid(child, nullptr, 0);
    const ssize_t size = read(ends[0], name, sizeof name);
    close(ends[0]);
    close(ends[1]);
    return std::string(name, std::max<ssize_t>(size, 0));
}

void TestPinGuard::memory()
{
    const QTemporaryDir folder;
    const std::string path = folder.filePath("memory").toStdString();
    const std::string pppd = pppdOfAChild();
    QVERIFY(pppd.find(std::to_string(getpid()) + ' ') == 0);
    QVERIFY(!guard::isRemembered(path, pppd));
    QVERIFY(guard::remember(path, pppd));
    QVERIFY(guard::isRemembered(path, pppd));
    QVERIFY(!guard::isRemembered(path, "1 2\n")); // a later pppd, the same number perhaps
    struct stat status {
    };
    stat(path.c_str(), &status);
    QCOMPARE(status.st_mode & 07777U, 0600U);
    guard::forget(path);
    QVERIFY(!guard::isRemembered(path, pppd));
    QVERIFY(!guard::remember(folder.filePath("none/memory").toStdString(), pppd));
}

QTEST_GUILESS_MAIN(TestPinGuard)
#include "tst_pinguard.moc"
