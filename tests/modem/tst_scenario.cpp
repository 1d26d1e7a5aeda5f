// Scenario files, and what they make of replies and of the network's pppd.
#include "escape.h"
#include "pacing.h"
#include "ppp_options.h"
#include "scenario.h"

#include <QtTest>

#include <sys/stat.h>

class TestScenario : public QObject
{
    Q_OBJECT

private slots:
    void values();
    void faults_data();
    void faults();
    void files();
    void escapes_data();
    void escapes();
    void pacing_data();
    void pacing();
    void authentication_data();
    void authentication();
};

namespace
{

modem::Scenario parsed(const char *text)
{
    std::vector<std::string> faults;
    return modem::parseScenario(text, faults);
}

} // namespace

void TestScenario::values()
{
    std::vector<std::string> faults;
    const modem::Scenario scenario = modem::parseScenario("# comment\n"
                                                          "\r\n"
                                                          "  sim.pin = 1234 \r\n"
                                                          "password=a=b #c\n"
                                                          "drop_after_s=7\n"
                                                          "sim.pin=4321",
                                                          faults);
    QCOMPARE(faults.size(), size_t(0));
    QCOMPARE(scenario.simPin, std::string("4321"));
    QCOMPARE(scenario.password, std::string("a=b #c"));
    QVERIFY(scenario.dropAfter == std::chrono::seconds(7));
    QCOMPARE(scenario.signalQuality, std::string("17,99"));
}

void TestScenario::faults_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("no equals sign") << QByteArray("answer silent");
    QTest::newRow("unknown key") << QByteArray("answers=silent");
    QTest::newRow("unknown choice") << QByteArray("answer=Silent");
    QTest::newRow("negative time") << QByteArray("delay_ms=-1");
    QTest::newRow("huge time") << QByteArray("delay_ms=99999999999999999999");
    QTest::newRow("no time") << QByteArray("dial_ms=");
    QTest::newRow("broken escape") << QByteArray("csq_reply=\\x0");
}

void TestScenario::faults()
{
    QFETCH(QByteArray, line);
    std::vector<std::string> faults;
    const modem::Scenario scenario =
        modem::parseScenario(line.toStdString() + "\ncsq=3,0\n", faults);
    QCOMPARE(faults.size(), size_t(1));
    QVERIFY(QByteArray::fromStdString(faults[0]).contains(line.left(6)));
    QCOMPARE(scenario.signalQuality, std::string("3,0"));
    QVERIFY(scenario.answer == modem::Scenario::Answer::Normal);
}

void TestScenario::files()
{
    QTemporaryDir folder;
    const auto faultsOf = [&](const QString &name) {
        std::vector<std::string> faults;
        modem::loadScenario(folder.filePath(name).toStdString(), faults);
        return static_cast<int>(faults.size());
    };
    QCOMPARE(faultsOf("missing"), 0);
    QVERIFY(QDir(folder.path()).mkdir("folder"));
    QCOMPARE(faultsOf("folder"), 1);
    QCOMPARE(::mkfifo(qPrintable(folder.filePath("fifo")), 0600), 0);
    QCOMPARE(faultsOf("fifo"), 1);
}

void TestScenario::escapes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("line") << QByteArray("\r\nOK\r\n") << QByteArray("\\r\\nOK\\r\\n");
    QTest::newRow("quote, backslash") << QByteArray("\"\\\"") << QByteArray("\\\"\\\\\\\"");
    QTest::newRow("others") << QByteArray("\0\x1b\x7f\xff\t", 5)
                            << QByteArray("\\x00\\x1b\\x7f\\xff\\t");
}

void TestScenario::escapes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, text);
    QCOMPARE(QByteArray::fromStdString(modem::escaped(bytes.toStdString())), text);
    const auto back = modem::unescaped(text.toStdString());
    QVERIFY(back);
    QCOMPARE(QByteArray::fromStdString(*back), bytes);
    for (const char *broken : {"\\", "\\q", "\\x", "\\x1", "\\xg0"})
        QVERIFY2(!modem::unescaped(broken), broken);
}

void TestScenario::pacing_data()
{
    QTest::addColumn<QByteArray>("scenario");
    QTest::addColumn<QString>("parts"); // pause:bytes
    QTest::newRow("normal") << QByteArray() << "0:abcdefgh";
    QTest::newRow("echo") << QByteArray("answer=echo") << "0:abcdefgh";
    QTest::newRow("silent") << QByteArray("answer=silent") << "";
    QTest::newRow("slow") << QByteArray("answer=slow") << "1000:abcdefgh";
    QTest::newRow("slower") << QByteArray("answer=slow\ndelay_ms=2500") << "2500:abcdefgh";
    QTest::newRow("pieces") << QByteArray("answer=pieces") << "0:a 20:bc 20:def 20:g 20:h";
    QTest::newRow("slow pieces") << QByteArray("answer=pieces\ndelay_ms=5")
                                 << "0:a 5:bc 5:def 5:g 5:h";
}

void TestScenario::pacing()
{
    QFETCH(QByteArray, scenario);
    QStringList parts;
    for (const modem::TimedBytes &part : modem::pace(parsed(scenario.constData()), "abcdefgh"))
        parts << QString("%1:%2").arg(part.pause.count()).arg(part.bytes.c_str());
    QTEST(parts.join(' '), "parts");
    QVERIFY(modem::pace(parsed(scenario.constData()), "").empty());
}

void TestScenario::authentication_data()
{
    QTest::addColumn<QByteArray>("scenario");
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("secrets");
    QTest::newRow("none") << QByteArray() << "noauth"
                          << "\"\" * \"\" *\n";
    QTest::newRow("PAP") << QByteArray("auth=pap\nuser=u\npassword=p") << "auth require-pap"
                         << "\"u\" * \"p\" *\n";
    QTest::newRow("CHAP, with a name of its own")
        << QByteArray("auth=chap\nuser=u\npassword=p\nnetwork.user=n\nnetwork.password=q")
        << "auth require-chap user n"
        << "\"u\" * \"p\" *\n\"n\" * \"q\" *\n";
    QTest::newRow("characters that need care")
        << QByteArray("user=a b#\npassword=q\"\\'") << "noauth"
        << "\"a b#\" * \"q\\\"\\\\'\" *\n";
}

void TestScenario::authentication()
{
    QFETCH(QByteArray, scenario);
    QFETCH(QString, options);
    const modem::Scenario told = parsed(scenario.constData());
    QStringList arguments;
    for (const std::string &argument : modem::networkArguments("netpppd", "/dev/x", "log", told))
        arguments << QString::fromStdString(argument);
    QCOMPARE(arguments.mid(0, 2), (QStringList{"netpppd", "/dev/x"}));
    const int addresses = static_cast<int>(arguments.indexOf("10.64.64.64:10.11.12.13"));
    QVERIFY(addresses > 5);
    QCOMPARE(arguments.mid(5, addresses - 5).join(' '), options);
    QTEST(QString::fromStdString(modem::networkSecrets(told)), "secrets");
}

QTEST_APPLESS_MAIN(TestScenario)
#include "tst_scenario.moc"
