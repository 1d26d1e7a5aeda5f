// What the dongle makes of scenario files: of its keys, of their values in replies.
#include "simulator/programs/modem/pacing.h"
#include "simulator/programs/modem/scenario.h"

#include <QtTest>

class ScenarioTest : public QObject
{
    Q_OBJECT

private slots:
    void lines();
    void pacing_data();
    void pacing();
};

void ScenarioTest::lines()
{
    const std::string text = "# comment\n\r\n  sim.pin = 1234 \r\npassword=a=b #c\nanswer=Silent\n"
                             "sim.pin=432\ndrop_after_s=20\ndelay_ms=\nsim.puk=87654321";
    std::vector<std::string> faults;
    const modem::Scenario scenario = modem::parseScenario(text, faults);
    QCOMPARE(faults.size(), 3);
    QCOMPARE(scenario.simPin, std::string("1234"));
    QCOMPARE(scenario.simPuk, std::string("87654321"));
    QCOMPARE(scenario.password, std::string("a=b #c"));
    QCOMPARE(scenario.dropAfter.count(), 20);
    QVERIFY(scenario.answer == modem::Scenario::Answer::Normal);
    QVERIFY(!scenario.delay);
}

void ScenarioTest::pacing_data()
{
    QTest::addColumn<QByteArray>("scenario");
    QTest::addColumn<QString>("parts"); // pause:bytes
    QTest::newRow("normal") << QByteArray() << "0:abcdefgh";
    QTest::newRow("silent") << QByteArray("answer=silent") << "";
    QTest::newRow("slow") << QByteArray("answer=slow\ndelay_ms=2500") << "2500:abcdefgh";
    QTest::newRow("pieces") << QByteArray("answer=pieces") << "0:a 20:bc 20:def 20:g 20:h";
}

void ScenarioTest::pacing()
{
    QFETCH(QByteArray, scenario);
    std::vector<std::string> faults;
    const modem::Scenario told = modem::parseScenario(scenario.toStdString(), faults);
    QStringList parts;
    for (const modem::TimedBytes &part : modem::pace(told, "abcdefgh"))
        parts << QString("%1:%2").arg(part.pause.count()).arg(part.bytes.c_str());
    QTEST(parts.join(' '), "parts");
}

QTEST_APPLESS_MAIN(ScenarioTest)
#include "tst_scenario.moc"
