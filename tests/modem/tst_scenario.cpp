// Scenario files, and what they make of replies.
#include "pacing.h"
#include "scenario.h"

#include <QtTest>

class TestScenario : public QObject
{
    Q_OBJECT

private slots:
    void lines();
    void pacing_data();
    void pacing();
};

void TestScenario::lines()
{
    const QByteArrayList wrong = {"answer silent",
                                  "answers=silent",
                                  "answer=Silent",
                                  "delay_ms=-1",
                                  "delay_ms=99999999999999999999",
                                  "dial_ms=",
                                  "csq_reply=\\x0",
                                  "csq_reply=\\"};
    const QByteArray text = "# comment\n\r\n  sim.pin = 1234 \r\npassword=a=b #c\n" +
                            wrong.join('\n') + "\nsim.pin=4321";
    std::vector<std::string> faults;
    const modem::Scenario scenario = modem::parseScenario(text.toStdString(), faults);
    QCOMPARE(faults.size(), static_cast<size_t>(wrong.size()));
    QCOMPARE(scenario.simPin, std::string("4321"));
    QCOMPARE(scenario.password, std::string("a=b #c"));
    QVERIFY(scenario.answer == modem::Scenario::Answer::Normal);
    QVERIFY(!scenario.delay && !scenario.csqReply);
}

void TestScenario::pacing_data()
{
    QTest::addColumn<QByteArray>("scenario");
    QTest::addColumn<QString>("parts"); // pause:bytes
    QTest::newRow("normal") << QByteArray() << "0:abcdefgh";
    QTest::newRow("silent") << QByteArray("answer=silent") << "";
    QTest::newRow("slow") << QByteArray("answer=slow\ndelay_ms=2500") << "2500:abcdefgh";
    QTest::newRow("pieces") << QByteArray("answer=pieces") << "0:a 20:bc 20:def 20:g 20:h";
}

void TestScenario::pacing()
{
    QFETCH(QByteArray, scenario);
    std::vector<std::string> faults;
    const modem::Scenario told = modem::parseScenario(scenario.toStdString(), faults);
    QStringList parts;
    for (const modem::TimedBytes &part : modem::pace(told, "abcdefgh"))
        parts << QString("%1:%2").arg(part.pause.count()).arg(part.bytes.c_str());
    QTEST(parts.join(' '), "parts");
}

QTEST_APPLESS_MAIN(TestScenario)
#include "tst_scenario.moc"
