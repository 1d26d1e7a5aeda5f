// Why a dial failed: the last known message in pppd's log. Other messages may follow it.
#include "core/diallog.h"

#include <QtTest>

constexpr char Ended[] = "LCP terminated by peer\nConnection terminated.\nModem hangup\n";
constexpr char Answered[] = "Connect: ppp0 <--> /dev/ttyUSB0\nrcvd [LCP ConfAck id=0x1]\n";
constexpr char Up[] = "local  IP address 10.11.12.13\nremote IP address 10.64.64.64\n";
constexpr char Chat[] = "Script chat -t5 -E -v -f /etc/ppp/chat/chat 2>/etc/ppp/chat.log finished "
                        "(pid 712), status = 0x";
constexpr char Guard[] = "The SIM refused this PIN once. It is not sent again until Connect is "
                         "pressed.\nScript [ ! -x /usr/libexec/corvanta/pinguard ] finished (pid "
                         "9), status = 0x1\nInitializer script failed\n";

class DialLogTest : public QObject
{
    Q_OBJECT

private slots:
    void finds_data();
    void finds();
};

void DialLogTest::finds_data()
{
    QTest::addColumn<QByteArray>("log");
    QTest::addColumn<QString>("part"); // of the cause; null if there is none
    const auto row = [](const char *name, const QByteArray &log, const QString &part) {
        QTest::newRow(name) << log << part;
    };
    row("empty", "", {});
    row("link", QByteArray(Guard) + Answered + Up, {});
    row("disconnected", QByteArray(Answered) + "Terminating on signal 15\n" + Ended, {});
    row("lost", QByteArray(Up) + "No response to 5 echo-requests\n" + Ended, "stopped answering");
    row("no answer", QByteArray(Up) + "Connect: ppp0 <--> /dev/ttyUSB0\n", "not answered");
    row("no call", "LCP: timeout sending Config-Requests\n", "not accepted the call");
    row("no address", "IPCP: timeout sending Config-Requests\n", "not assigned an IP address");
    row("no IPv6", QByteArray(Answered) + Up + "IPV6CP: timeout sending Config-Requests\n", {});
    row("PAP", QByteArray(Answered) + "PAP authentication failed\n" + Ended, "rejects the user");
    row("CHAP", QByteArray(Answered) + "CHAP authentication failed: x\n" + Ended,
        "rejects the user");
    row("no user", QByteArray(Answered) + "No auth is possible\n" + Ended, "requires a user name");
    row("method", QByteArray(Answered) + "peer refused to authenticate: terminating link\n" + Ended,
        "not authenticate itself");
    row("PIN", QByteArray(Chat) + "b\nConnect script failed\n" + Guard, "refused the stored PIN");
    row("unplugged", "Failed to open /dev/ttyUSB0: No such file or directory\n", "could not open");
    row("chat succeeded", QByteArray(Chat) + "0\n", {});
    row("chat timeout", QByteArray(Chat) + "3\nConnect script failed\n",
        "not answered chat in time");
    row("BUSY", QByteArray(Chat) + "4\n", "answered BUSY");
    row("ERROR", QByteArray(Chat) + "b\nConnect script failed\n", "answered ERROR");
    row("chat killed", QByteArray(Chat) + "8f\n", "status 143");
}

void DialLogTest::finds()
{
    QFETCH(QByteArray, log);
    QFETCH(QString, part);
    const auto failure = lastDialFailure(log);
    QCOMPARE(failure.has_value(), !part.isNull());
    const QString cause = failure.value_or(DialFailure()).cause;
    QVERIFY2(cause.contains(part), qPrintable(cause));
}

QTEST_GUILESS_MAIN(DialLogTest)
#include "tst_diallog.moc"
