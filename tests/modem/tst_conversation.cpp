// What the stick answers, as conversations.
#include "escape.h"
#include "modem.h"

#include <QtTest>

/** One exchange: a command line, and its reply with escapes, CR LF around each text left out. */
struct Turn {
    const char *line;
    const char *reply;
};
using Turns = QVector<Turn>;
Q_DECLARE_METATYPE(Turns)

class TestConversation : public QObject
{
    Q_OBJECT

private slots:
    void conversations_data();
    void conversations();
    void formats_data();
    void formats();
    void dialling_data();
    void dialling();
    void pinTriesRunOut();
    void pukTriesRunOut();
    void powerOnAsksForThePinAgain();
    void anotherPinIsAnotherCard();
    void rawSignalReply();
};

namespace
{

modem::Scenario scenarioOf(const QByteArray &text)
{
    std::vector<std::string> faults;
    const modem::Scenario scenario = modem::parseScenario(text.toStdString(), faults);
    if (!faults.empty())
        qFatal("%s", faults[0].c_str());
    return scenario;
}

// "\r\nOK\r\n" -> "OK"; several texts are joined by " / ".
QString plain(const std::string &bytes)
{
    const QString text = QString::fromStdString(bytes);
    return text.split("\r\n", Qt::SkipEmptyParts).join(" / ");
}

void converse(modem::Modem &stick, const Turns &turns)
{
    for (const Turn &turn : turns)
        QCOMPARE(plain(stick.execute(turn.line).bytes), QString(turn.reply));
}

} // namespace

void TestConversation::conversations_data()
{
    QTest::addColumn<QByteArray>("scenario");
    QTest::addColumn<Turns>("turns");

    const QByteArray locked = "sim.pin=1234\n";
    QTest::newRow("dial-up script")
        << QByteArray()
        << Turns{{"", ""},
                 {"ATZ", "OK"},
                 {"AT+COPS?", "+COPS: 0,0,\"Testnet\",2 / OK"},
                 {"AT+CGDCONT=1,\"IP\",\"internet\"", "OK"},
                 {"AT+CGDCONT?", "+CGDCONT: 1,\"IP\",\"internet\",\"\",0,0 / OK"},
                 {"\"ATD*99#\"", "CONNECT 3600000"}};
    QTest::newRow("text without prefix") << QByteArray() << Turns{{"HELLO", ""}, {"AT", "OK"}};
    QTest::newRow("unknown commands")
        << QByteArray()
        << Turns{{"AT^CURC=0", "ERROR"}, {"AT+NONE", "ERROR"},  {"ATE2", "ERROR"},
                 {"ATS", "ERROR"},       {"ATS256=1", "ERROR"}, {"AT+CMEE=3", "ERROR"}};
    QTest::newRow("a failure ends the line") << QByteArray()
                                             << Turns{{"AT+CSQ;+NONE;+CSQ", "+CSQ: 17,99 / ERROR"},
                                                      {"AT+NONE;+CMEE=2", "ERROR"},
                                                      {"AT+CMEE?", "+CMEE: 0 / OK"}};
    QTest::newRow("repeat") << QByteArray("csq=5,0\n")
                            << Turns{{"A/", ""},
                                     {"AAT+CSQ", "+CSQ: 5,0 / OK"},
                                     {"A/", "+CSQ: 5,0 / OK"}};
    QTest::newRow("registers") << QByteArray()
                               << Turns{{"ATS7?", "050 / OK"},
                                        {"ATS7=45S7?", "045 / OK"},
                                        {"ATZ", "OK"},
                                        {"ATS7?", "050 / OK"}};
    QTest::newRow("operator formats")
        << QByteArray("operator=Some Net\noperator_number=26299\n")
        << Turns{{"AT+COPS=3,2", "OK"},
                 {"AT+COPS?", "+COPS: 0,2,\"26299\",2 / OK"},
                 {"AT+COPS=3,0;+COPS?", "+COPS: 0,0,\"Some Net\",2 / OK"},
                 {"AT+COPS=3,7", "ERROR"},
                 {"AT+COPS=3", "ERROR"}};
    QTest::newRow("contexts") << QByteArray()
                              << Turns{{"AT+CGDCONT=0,\"IP\",\"x\"", "ERROR"},
                                       {"AT+CGDCONT=17,\"IP\",\"x\"", "ERROR"},
                                       {"AT+CGDCONT=a", "ERROR"},
                                       {"AT+CGDCONT=2,\"IP\"", "OK"},
                                       {"AT+CGDCONT?", "+CGDCONT: 2,\"IP\",\"\",\"\",0,0 / OK"},
                                       {"AT+CGDCONT=2", "OK"},
                                       {"AT+CGDCONT?", "OK"}};
    QTest::newRow("PIN right")
        << locked
        << Turns{{"AT+CPIN?", "+CPIN: SIM PIN / OK"},
                 {"AT+CREG?", "+CREG: 0,0 / OK"},
                 {"ATI;+COPS?", "Manufacturer: Corvanta / Model: Stick simulator / Revision: 1.0 / "
                                "IMEI: 490154203237518 / ERROR"},
                 {"ATD*99#", "ERROR"},
                 {"AT+CPIN=\"1234\"", "OK"},
                 {"AT+CPIN?", "+CPIN: READY / OK"},
                 {"AT+CREG?;+CGATT?", "+CREG: 0,1 / +CGATT: 1 / OK"},
                 {"ATD*99#", "CONNECT 3600000"}};
    QTest::newRow("PIN that nobody asked for")
        << QByteArray()
        << Turns{{"AT+CPIN=\"1234\"", "ERROR"},
                 {"AT+CMEE=2", "OK"},
                 {"AT+CPIN=\"1234\"", "+CME ERROR: operation not allowed"}};
    QTest::newRow("PIN malformed costs no try")
        << locked
        << Turns{{"AT+CMEE=1", "OK"},
                 {"AT+CPIN=\"12\"", "+CME ERROR: 50"},
                 {"AT+CPIN=\"12x4\"", "+CME ERROR: 50"},
                 {"AT+CPINR=\"SIM PIN\"", "+CPINR: SIM PIN,3,3 / OK"}};
    QTest::newRow("no SIM") << QByteArray("sim.present=no\n")
                            << Turns{{"AT+CMEE=1;+CPIN?", "+CME ERROR: 10"},
                                     {"AT+CPIN=\"1234\"", "+CME ERROR: 10"},
                                     {"AT+COPS?", "+CME ERROR: 10"},
                                     {"ATI+GMR",
                                      "Manufacturer: "
                                      "Corvanta / Model: Stick simulator / Revision: 1.0 / IMEI: "
                                      "490154203237518 / 1.0 / OK"}};
    QTest::newRow("errors in three formats") << locked
                                             << Turns{{"AT+COPS?", "ERROR"},
                                                      {"AT+CMEE=1", "OK"},
                                                      {"AT+COPS?", "+CME ERROR: 11"},
                                                      {"AT+CMEE=2", "OK"},
                                                      {"AT+COPS?", "+CME ERROR: SIM PIN required"},
                                                      {"ATZ", "OK"},
                                                      {"AT+COPS?", "ERROR"}};
}

void TestConversation::conversations()
{
    QFETCH(QByteArray, scenario);
    QFETCH(Turns, turns);
    modem::Modem stick;
    stick.setScenario(scenarioOf(scenario));
    converse(stick, turns);
}

void TestConversation::formats_data()
{
    QTest::addColumn<QByteArray>("setting");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("verbose") << QByteArray("ATV1") << QByteArray("AT+CSQ")
                             << QByteArray("\r\n+CSQ: 17,99\r\n\r\nOK\r\n");
    QTest::newRow("numeric") << QByteArray("ATV0") << QByteArray("AT+CSQ")
                             << QByteArray("+CSQ: 17,99\r\n0\r");
    QTest::newRow("numeric error")
        << QByteArray("ATV0") << QByteArray("AT+NONE") << QByteArray("4\r");
    QTest::newRow("numeric connect")
        << QByteArray("ATV0") << QByteArray("ATD*99#") << QByteArray("1\r");
    QTest::newRow("quiet") << QByteArray("ATQ1") << QByteArray("AT+CSQ")
                           << QByteArray("\r\n+CSQ: 17,99\r\n");
    QTest::newRow("quiet no more")
        << QByteArray("ATQ1") << QByteArray("ATQ0") << QByteArray("\r\nOK\r\n");
    QTest::newRow("factory") << QByteArray("ATV0Q1") << QByteArray("AT&FV1")
                             << QByteArray("\r\nOK\r\n");
    QTest::newRow("reset ends its line")
        << QByteArray("AT") << QByteArray("ATZ+NONE") << QByteArray("\r\nOK\r\n");
}

void TestConversation::formats()
{
    QFETCH(QByteArray, setting);
    QFETCH(QByteArray, line);
    modem::Modem stick;
    stick.execute(setting.toStdString());
    QTEST(QByteArray::fromStdString(stick.execute(line.toStdString()).bytes), "reply");
}

void TestConversation::dialling_data()
{
    QTest::addColumn<QByteArray>("scenario");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("reply");
    QTest::addColumn<QString>("apn"); // of a call that is connected; null: none
    QTest::newRow("context 1") << QByteArray() << QByteArray("ATD*99#") << "CONNECT 3600000"
                               << "internet";
    QTest::newRow("context 2") << QByteArray() << QByteArray("ATDT*99***2#") << "CONNECT 3600000"
                               << "second";
    QTest::newRow("undefined context")
        << QByteArray() << QByteArray("ATD*99***3#") << "CONNECT 3600000"
        << "";
    QTest::newRow("speed") << QByteArray("connect_speed=115200\n") << QByteArray("ATD*99#")
                           << "CONNECT 115200"
                           << "internet";
    QTest::newRow("no speed") << QByteArray("connect_speed=\n") << QByteArray("ATD*99#")
                              << "CONNECT"
                              << "internet";
    QTest::newRow("other number") << QByteArray() << QByteArray("ATD0123") << "NO CARRIER"
                                  << QString();
    QTest::newRow("no number") << QByteArray() << QByteArray("\"ATD\"") << "NO CARRIER"
                               << QString();
    QTest::newRow("APN not served")
        << QByteArray("apn=second\n") << QByteArray("ATD*99#") << "NO CARRIER" << QString();
    QTest::newRow("APN served") << QByteArray("apn=internet\n") << QByteArray("ATD*99#")
                                << "CONNECT 3600000"
                                << "internet";
    const QVector<std::pair<const char *, const char *>> refusals = {
        {"busy", "BUSY"},           {"no-carrier", "NO CARRIER"},
        {"error", "ERROR"},         {"no-dialtone", "NO DIALTONE"},
        {"no-answer", "NO ANSWER"}, {"delayed", "DELAYED"}};
    for (const auto &[name, reply] : refusals)
        QTest::newRow(name) << QByteArray("dial=") + name << QByteArray("ATD*99#") << reply
                            << QString();
}

void TestConversation::dialling()
{
    QFETCH(QByteArray, scenario);
    QFETCH(QByteArray, line);
    QFETCH(QString, apn);
    modem::Modem stick;
    stick.setScenario(scenarioOf(scenario));
    stick.execute("AT+CGDCONT=1,\"IP\",\"internet\";+CGDCONT=2,\"IP\",\"second\"");
    const modem::Reply reply = stick.execute(line.toStdString());
    QTEST(plain(reply.bytes), "reply");
    QVERIFY(reply.call);
    QCOMPARE(reply.call->connected, !apn.isNull());
    if (reply.call->connected)
        QCOMPARE(QString::fromStdString(reply.call->apn), apn);
    QCOMPARE(plain(stick.callEnded()), QString("NO CARRIER"));
}

void TestConversation::pinTriesRunOut()
{
    modem::Modem stick;
    stick.setScenario(scenarioOf("sim.pin=1234\nsim.puk=87654321\n"));
    converse(stick, {{"AT+CMEE=1", "OK"},
                     {"AT+CPIN=\"1111\"", "+CME ERROR: 16"},
                     {"AT+CPIN=\"2222\"", "+CME ERROR: 16"},
                     {"AT+CPINR=\"SIM PIN\"", "+CPINR: SIM PIN,1,3 / OK"},
                     {"AT+CPIN=\"3333\"", "+CME ERROR: 16"},
                     {"AT+CPIN=\"1234\"", "+CME ERROR: 12"},
                     {"AT+CPIN?", "+CPIN: SIM PUK / OK"},
                     {"AT+COPS?", "+CME ERROR: 12"},
                     {"AT+CPIN=\"11111111\",\"4321\"", "+CME ERROR: 16"},
                     {"AT+CPINR", "+CPINR: SIM PIN,0,3 / +CPINR: SIM PUK,9,10 / OK"},
                     {"AT+CPIN=\"87654321\",\"4321\"", "OK"},
                     {"AT+CPINR", "+CPINR: SIM PIN,3,3 / +CPINR: SIM PUK,10,10 / OK"},
                     {"AT+CPIN?", "+CPIN: READY / OK"}});
    stick.powerOn();
    converse(stick, {{"AT+CPIN=\"1234\"", "ERROR"}, {"AT+CPIN=\"4321\"", "OK"}});
}

void TestConversation::pukTriesRunOut()
{
    modem::Modem stick;
    stick.setScenario(scenarioOf("sim.pin=1234\n"));
    for (int i = 0; i < modem::SimCard::MaxPinTries; ++i)
        stick.execute("AT+CPIN=\"0000\"");
    for (int i = 0; i < modem::SimCard::MaxPukTries; ++i)
        QCOMPARE(plain(stick.execute("AT+CPIN=\"00000000\",\"1234\"").bytes), QString("ERROR"));
    converse(stick, {{"AT+CMEE=1", "OK"},
                     {"AT+CPIN?", "+CME ERROR: 13"},
                     {"AT+CPIN=\"12345678\",\"1234\"", "+CME ERROR: 13"},
                     {"ATD*99#", "+CME ERROR: 13"}});
}

void TestConversation::powerOnAsksForThePinAgain()
{
    modem::Modem stick;
    stick.setScenario(scenarioOf("sim.pin=1234\n"));
    converse(stick, {{"AT+CPIN=\"1111\"", "ERROR"},
                     {"AT+CPIN=\"1234\"", "OK"},
                     {"AT+CGDCONT=1,\"IP\",\"internet\"", "OK"}});
    stick.powerOn();
    converse(stick, {{"AT+CPIN?", "+CPIN: SIM PIN / OK"},
                     {"AT+CGDCONT?", "OK"},
                     {"AT+CPIN=\"1111\"", "ERROR"}});
    stick.powerOn();
    converse(stick, {{"AT+CPINR=\"SIM PIN\"", "+CPINR: SIM PIN,2,3 / OK"}});
}

void TestConversation::anotherPinIsAnotherCard()
{
    modem::Modem stick;
    stick.setScenario(scenarioOf("sim.pin=1234\n"));
    converse(stick, {{"AT+CPIN=\"1111\"", "ERROR"}});
    stick.setScenario(scenarioOf("sim.pin=1234\ncsq=3,0\n"));
    converse(stick, {{"AT+CPINR=\"SIM PIN\"", "+CPINR: SIM PIN,2,3 / OK"}});
    stick.setScenario(scenarioOf("sim.pin=1111\n"));
    converse(stick,
             {{"AT+CPINR=\"SIM PIN\"", "+CPINR: SIM PIN,3,3 / OK"}, {"AT+CPIN=\"1111\"", "OK"}});
}

void TestConversation::rawSignalReply()
{
    modem::Modem stick;
    stick.setScenario(scenarioOf("csq_reply=\\r\\n+CSQ\n"));
    QCOMPARE(QByteArray::fromStdString(stick.execute("AT+CSQ").bytes), QByteArray("\r\n+CSQ"));
    QCOMPARE(QByteArray::fromStdString(stick.execute("AT").bytes), QByteArray("\r\nOK\r\n"));
}

QTEST_APPLESS_MAIN(TestConversation)
#include "tst_conversation.moc"
