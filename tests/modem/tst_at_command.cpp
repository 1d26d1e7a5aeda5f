// Command lines taken apart, and dial strings.
#include "at_command.h"

#include <QtTest>

class TestAtCommand : public QObject
{
    Q_OBJECT

private slots:
    void prefix_data();
    void prefix();
    void commands_data();
    void commands();
    void arguments_data();
    void arguments();
    void packetCalls_data();
    void packetCalls();
};

namespace
{

// Commands as text: name, a sign for the operation, value.
QString described(const std::vector<modem::Command> &commands)
{
    static const char *const signs[] = {"", "=", "?", "=?", "!"};
    QStringList parts;
    for (const modem::Command &command : commands) {
        parts << QString::fromStdString(command.name) +
                     signs[static_cast<size_t>(command.operation)] +
                     QString::fromStdString(command.value);
    }
    return parts.join(" | ");
}

} // namespace

void TestAtCommand::prefix_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("body"); // null: no prefix
    QTest::newRow("large") << "ATZ"
                           << "Z";
    QTest::newRow("small") << "atz"
                           << "z";
    QTest::newRow("mixed is none") << "aTZ" << QString();
    QTest::newRow("empty") << "" << QString();
    QTest::newRow("single A") << "A" << QString();
    QTest::newRow("A before") << "AAT+CSQ"
                              << "+CSQ";
    QTest::newRow("quote before") << "\"ATD*99#\""
                                  << "D*99#\"";
    QTest::newRow("nothing after") << "AT"
                                   << "";
    QTest::newRow("the first one counts") << "xatAT"
                                          << "AT";
}

void TestAtCommand::prefix()
{
    QFETCH(QString, line);
    QFETCH(QString, body);
    const auto found = modem::commandBody(line.toStdString());
    QCOMPARE(found.has_value(), !body.isNull());
    QCOMPARE(QString::fromStdString(found.value_or("")), body.isNull() ? QString("") : body);
}

void TestAtCommand::commands_data()
{
    QTest::addColumn<QString>("body");
    QTest::addColumn<QString>("commands");
    QTest::newRow("none") << ""
                          << "";
    QTest::newRow("basic") << "z"
                           << "Z";
    QTest::newRow("several basic") << "E0V1 Q0&C1&D2"
                                   << "E=0 | V=1 | Q=0 | &C=1 | &D=2";
    QTest::newRow("register") << "S7=45S0?"
                              << "S7=45 | S0?";
    QTest::newRow("register with nothing") << "S7"
                                           << "S7!";
    QTest::newRow("basic, then extended") << "E0+CMEE=2;+CSQ"
                                          << "E=0 | +CMEE=2 | +CSQ";
    QTest::newRow("extended, then basic") << "+CSQ;E1"
                                          << "+CSQ | E=1";
    QTest::newRow("read and test") << "+CPIN?;+cops=?"
                                   << "+CPIN? | +COPS=?";
    QTest::newRow("quoted separator") << "+CPIN=\"1;2 3\";H"
                                      << "+CPIN=\"1;2 3\" | H";
    QTest::newRow("open quote") << "+CPIN=\"12;H"
                                << "+CPIN=\"12;H";
    QTest::newRow("blanks") << " + C S Q ; Z "
                            << "+CSQ | Z";
    QTest::newRow("dial takes the rest") << "E0DT*99#;H"
                                         << "E=0 | DT*99#;H";
    QTest::newRow("dial keeps its quote") << "D*99#\""
                                          << "D*99#\"";
    QTest::newRow("no command") << "Z^CURC=0"
                                << "Z | ^CURC=0!";
    QTest::newRow("lone ampersand") << "&1"
                                    << "1!";
    QTest::newRow("garbage after a name") << "+CSQ:7"
                                          << "+CSQ!7";
}

void TestAtCommand::commands()
{
    QFETCH(QString, body);
    const auto commands = modem::parseCommands(body.toStdString());
    QTEST(described(commands), "commands");
}

void TestAtCommand::arguments_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("context") << "1,\"IP\",\"internet\"" << QStringList{"1", "IP", "internet"};
    QTest::newRow("empty") << "" << QStringList{""};
    QTest::newRow("gaps") << ",,2" << QStringList{"", "", "2"};
    QTest::newRow("quote inside") << "\"12\"34\"" << QStringList{"12\"34"};
    QTest::newRow("comma in quotes") << "\"a,b\",c" << QStringList{"a,b", "c"};
}

void TestAtCommand::arguments()
{
    QFETCH(QString, value);
    QStringList found;
    for (const std::string &argument : modem::splitArguments(value.toStdString()))
        found << QString::fromStdString(argument);
    QTEST(found, "arguments");
}

void TestAtCommand::packetCalls_data()
{
    QTest::addColumn<QString>("number");
    QTest::addColumn<int>("contextId"); // 0: no packet call
    QTest::newRow("usual") << "*99#" << 1;
    QTest::newRow("quote at the end") << "*99#\"" << 1;
    QTest::newRow("quotes around") << "\"*99#\"" << 1;
    QTest::newRow("tone dialling") << "T*99#" << 1;
    QTest::newRow("with context") << "*99***2#" << 2;
    QTest::newRow("with protocol and context") << "*99**PPP*16#" << 16;
    QTest::newRow("protocol by number") << "*99**1*3#" << 3;
    QTest::newRow("empty fields") << "*99*#" << 1;
    QTest::newRow("context 0") << "*99***0#" << 0;
    QTest::newRow("context 17") << "*99***17#" << 0;
    QTest::newRow("context with letter") << "*99***1a#" << 0;
    QTest::newRow("other protocol") << "*99**IP*1#" << 0;
    QTest::newRow("too many fields") << "*99****1#" << 0;
    QTest::newRow("no hash") << "*99" << 0;
    QTest::newRow("telephone number") << "T0123456" << 0;
    QTest::newRow("other service") << "*999#" << 0;
    QTest::newRow("empty") << "" << 0;
    QTest::newRow("only a quote") << "\"" << 0;
}

void TestAtCommand::packetCalls()
{
    QFETCH(QString, number);
    const auto call = modem::parsePacketCall(number.toStdString());
    QTEST(call ? call->contextId : 0, "contextId");
}

QTEST_APPLESS_MAIN(TestAtCommand)
#include "tst_at_command.moc"
