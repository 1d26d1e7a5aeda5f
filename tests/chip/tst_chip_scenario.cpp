// Scenario files of the simulated chip, and where parameters go.
#include "scenario.h"

#include <QtTest>

using chip::Fault;
using chip::Scenario;

class TestChipScenario : public QObject
{
    Q_OBJECT

private slots:
    void pairs_data();
    void pairs();
    void files();
    void parametersInMemory();
};

void TestChipScenario::pairs_data()
{
    QTest::addColumn<QString>("pair");
    QTest::addColumn<bool>("taken");
    const auto row = [](const char *pair, bool taken) { QTest::newRow(pair) << pair << taken; };
    row("fault=zeros", true);
    row("fault=", false);
    row("fault=Zeros", false);
    row("delay_ms=60000", true);
    row("delay_ms=60001", false);
    row("delay_ms=-1", false);
    row("parameter.0=0", true);
    row("parameter.99=65535", true);
    row("parameter.100=1", false);
    row("parameter.10=65536", false);
    row("parameter.10=4294967297", false);
    row("parameter.=1", false);
    row("parameter.10=0x1", false);
    row("parameter10=1", false);
    row("fault", false);
    row("", false);
}

void TestChipScenario::pairs()
{
    QFETCH(QString, pair);
    Scenario scenario;
    QTEST(chip::setPair(scenario, pair.toStdString()), "taken");
}

void TestChipScenario::files()
{
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write("# comment\n\nfault=ones\ndelay_ms=250\nparameter.10=2\nnonsense=1\n");
    file.close();
    Scenario scenario;
    scenario.parameters = {{10, 1}, {11, 7}};
    const auto complaints = chip::readScenario(file.fileName().toStdString(), scenario);
    QCOMPARE(complaints, std::vector<std::string>{"scenario line not understood: nonsense=1"});
    QVERIFY(scenario.fault == Fault::Ones);
    QVERIFY(scenario.delay == std::chrono::milliseconds(250));
    QVERIFY(scenario.parameters == (std::map<unsigned, uint16_t>{{10, 2}, {11, 7}}));

    QVERIFY(chip::readScenario("/nonexistent/scenario", scenario).empty());
    QVERIFY(scenario.fault == Fault::Ones);
}

void TestChipScenario::parametersInMemory()
{
    Scenario scenario;
    scenario.parameters = {{0, 0x0102}, {10, 0x0100}, {99, 0xFFFE}};
    chip::Fm25v02Chip chip;
    chip::store(scenario, chip);
    std::map<unsigned, int> written;
    for (unsigned address = 0; address < chip.memory().size(); ++address) {
        if (chip.memory()[address] != 0)
            written[address] = chip.memory()[address];
    }
    const std::map<unsigned, int> expected = {
        {0x04, 0x02}, {0x05, 0x01}, {0x19, 0x01}, {0xCA, 0xFE}, {0xCB, 0xFF}};
    QVERIFY(written == expected);
}

QTEST_GUILESS_MAIN(TestChipScenario)
#include "tst_chip_scenario.moc"
