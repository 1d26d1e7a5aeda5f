// What the dongle answers, as conversations.
#include "simulator/programs/modem/modem.h"

#include <QtTest>

class ConversationTest : public QObject
{
    Q_OBJECT

private slots:
    void conversations_data();
    void conversations();
};

namespace
{

modem::Scenario scenarioOf(const QString &text)
{
    std::vector<std::string> faults;
    modem::Scenario scenario = modem::parseScenario(text.toStdString(), faults);
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

} // namespace

// NOLINTNEXTLINE(readability-function-size): a table, see its first comment.
void ConversationTest::conversations_data()
{
    // A step is a command line with its plain reply, "scenario KEY=VALUE..." or "power on". Over 60
    // lines, because it is one table.
    QTest::addColumn<QString>("steps");
    const auto row = [](const char *name, const QString &steps) { QTest::newRow(name) << steps; };

    row("what is a command line", R"(
A/ >
HELLO >
aT+CSQ >
AT > OK
at+csq > +CSQ: 17,99 / OK
AAT+CSQ > +CSQ: 17,99 / OK
"AT+CSQ > +CSQ: 17,99 / OK
A/ > +CSQ: 17,99 / OK
)");
    row("several commands on a line", R"(
ATE0V1 Q0&C1&D2+CSQ;S7=45S7? > +CSQ: 17,99 / 045 / OK
AT + C S Q ; H > +CSQ: 17,99 / OK
AT+CSQ;+NONE;+CSQ > +CSQ: 17,99 / ERROR
ATZ+NONE > OK
)");
    row("unknown commands", R"(
AT^CURC=0 > ERROR
AT+NONE > ERROR
AT+CSQ:7 > ERROR
AT&1 > ERROR
ATE2 > ERROR
ATS > ERROR
ATS256=1 > ERROR
)");
    row("contexts", R"(
AT+CGDCONT=0,"IP","x" > ERROR
AT+CGDCONT=17,"IP","x" > ERROR
AT+CGDCONT=a > ERROR
AT+CGDCONT=1,"IP","a;b, c";+CGDCONT? > +CGDCONT: 1,"IP","a;b, c","",0,0 / OK
AT+CGDCONT=1;+CGDCONT? > OK
)");
    row("PIN", R"(
scenario sim.pin=1234
AT+CPIN? > +CPIN: SIM PIN / OK
AT+CREG? > +CREG: 0,0 / OK
ATD*99# > ERROR
AT+CMEE=1;+CPIN="12" > +CME ERROR: 50
AT+CPIN="12x4" > +CME ERROR: 50
AT+CPINR="SIM PIN" > +CPINR: SIM PIN,3,3 / OK
AT+CPIN="1234" > OK
AT+CMEE=2;+CPIN="1234" > +CME ERROR: operation not allowed
AT+CPIN? > +CPIN: READY / OK
AT+CREG?;+COPS? > +CREG: 0,1 / +COPS: 0,0,"Testnet",2 / OK
ATD*99# > CONNECT 3600000
)");
    row("PIN tries run out", R"(
scenario sim.pin=1234 sim.puk=87654321
AT+CMEE=1;+CPIN="1111" > +CME ERROR: 16
AT+CPIN="2222" > +CME ERROR: 16
AT+CPIN="3333" > +CME ERROR: 16
AT+CPIN="1234" > +CME ERROR: 12
AT+CPIN? > +CPIN: SIM PUK / OK
AT+COPS? > +CME ERROR: 12
AT+CPIN="11111111","4321" > +CME ERROR: 16
AT+CPINR > +CPINR: SIM PIN,0,3 / +CPINR: SIM PUK,9,10 / OK
AT+CPIN="87654321","4321" > OK
AT+CPINR > +CPINR: SIM PIN,3,3 / +CPINR: SIM PUK,10,10 / OK
power on
AT+CPIN="1234" > ERROR
AT+CPIN="4321" > OK
)");
    row("PUK tries run out",
        "scenario sim.pin=1234\n" + QString("AT+CPIN=\"0000\" > ERROR\n").repeated(3) +
            QString("AT+CPIN=\"00000000\",\"1234\" > ERROR\n").repeated(10) + R"(
AT+CMEE=1;+CPIN? > +CME ERROR: 13
AT+CPIN="12345678","1234" > +CME ERROR: 13
ATD*99# > +CME ERROR: 13
)");
    row("power on forgets PIN and contexts, the SIM its tries not", R"(
scenario sim.pin=1234
AT+CPIN="1234";+CGDCONT=1,"IP","internet" > OK
power on
AT+CGDCONT? > OK
AT+CPIN="1111" > ERROR
power on
AT+CPINR="SIM PIN" > +CPINR: SIM PIN,2,3 / OK
)");
    row("another PIN is another card", R"(
scenario sim.pin=1234
AT+CPIN="1111" > ERROR
scenario sim.pin=1234 csq=3,0
AT+CPINR="SIM PIN" > +CPINR: SIM PIN,2,3 / OK
scenario sim.pin=1111
AT+CPINR="SIM PIN" > +CPINR: SIM PIN,3,3 / OK
)");
    row("locked from the start", R"(
scenario sim.pin=1234 sim.tries=1
AT+CMEE=1;+CPIN="1111" > +CME ERROR: 16
AT+CPIN="1234" > +CME ERROR: 12
scenario sim.tries=0
AT+CPIN? > +CPIN: SIM PUK / OK
AT+COPS? > +CME ERROR: 12
ATD*99# > +CME ERROR: 12
AT+CPIN="12345678","4321";+COPS? > +COPS: 0,0,"Testnet",2 / OK
)");
    row("a refused command", R"(
scenario refused=+CGDCONT
AT+CSQ;+CGDCONT=1,"IP","internet";+CSQ > +CSQ: 17,99 / ERROR
AT+CGDCONT? > ERROR
AT+COPS? > +COPS: 0,0,"Testnet",2 / OK
)");
    row("no SIM", R"(
scenario sim.present=no
AT+CMEE=1;+CPIN? > +CME ERROR: 10
AT+CPIN="1234" > +CME ERROR: 10
ATD*99# > +CME ERROR: 10
ATI > Manufacturer: Corvanta / Model: Dongle simulator / Revision: 1.0 / IMEI: 490154203237518 / OK
)");
    row("packet calls and other numbers", R"(
ATD*99# > CONNECT 3600000
"ATD*99#" > CONNECT 3600000
ATE0D*99*# > CONNECT 3600000
ATDT*99**PPP*16# > CONNECT 3600000
ATD*99**1*2# > CONNECT 3600000
"ATD" > NO CARRIER
ATDT0123456 > NO CARRIER
ATD*99 > NO CARRIER
ATD*999# > NO CARRIER
ATD*99***0# > NO CARRIER
ATD*99***17# > NO CARRIER
ATD*99***1a# > NO CARRIER
ATD*99**IP*1# > NO CARRIER
ATD*99****1# > NO CARRIER
)");
    row("APN of the context that is dialled", R"(
scenario apn=second
AT+CGDCONT=1,"IP","internet";+CGDCONT=2,"IP","second" > OK
ATD*99# > NO CARRIER
ATD*99***2# > CONNECT 3600000
ATD*99***3# > NO CARRIER
)");
    row("results of dialling", R"(
scenario dial=no-carrier
ATD*99# > NO CARRIER
scenario dial=busy
ATD*99# > BUSY
scenario dial=error
ATD*99# > ERROR
scenario dial=no-dialtone
ATD*99# > NO DIALTONE
scenario dial=no-answer
ATD*99# > NO ANSWER
scenario dial=delayed
ATD*99# > DELAYED
)");
}

void ConversationTest::conversations()
{
    QFETCH(QString, steps);
    modem::Modem dongle;
    for (const QString &step : steps.split('\n', Qt::SkipEmptyParts)) {
        const QString line = step.section(" >", 0, 0);
        if (step == "power on")
            dongle.powerOn();
        else if (step.startsWith("scenario "))
            dongle.setScenario(scenarioOf(step.section(' ', 1).replace(' ', '\n')));
        else
            QCOMPARE((line + " > " + plain(dongle.execute(line.toStdString()).bytes)).trimmed(),
                     step);
    }
}

QTEST_APPLESS_MAIN(ConversationTest)
#include "tst_conversation.moc"
