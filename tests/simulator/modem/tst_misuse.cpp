// What modemsim says to those who misuse it, on its command line and in a scenario.
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class MisuseTest : public QObject
{
    Q_OBJECT

private slots:
    void commandLine_data();
    void commandLine();
    void scenario_data();
    void scenario();
    void unreadableScenario();

private:
    int run(const QStringList &arguments);

    QByteArray m_output; ///< of the last run, both channels
};

int MisuseTest::run(const QStringList &arguments)
{
    QProcess program;
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(MODEMSIM, arguments);
    const bool ended = program.waitForFinished();
    m_output = program.readAll();
    return ended && program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1;
}

void MisuseTest::commandLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("complaint");
    const auto row = [](const QStringList &arguments, const QByteArray &complaint) {
        QTest::newRow(qPrintable(arguments.join(' '))) << arguments << complaint;
    };
    row({"--bogus"}, "there is no option --bogus");
    row({"--bogus=1"}, "there is no option --bogus=1");
    row({"--help=1"}, "there is no option --help=1");
    row({"--log", "/dev/null", "-qx"}, "there is no option -q");
    row({"--log", "/dev/null", "--port"}, "--port needs a value");
    row({"--check-scenario", "/dev/null", "more"}, "there is no use for more");
}

void MisuseTest::commandLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, complaint);
    QCOMPARE(run(arguments), 2);
    QCOMPARE(m_output, "modemsim: " + complaint + "; try modemsim --help\n");
}

void MisuseTest::scenario_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("complaint"); // none: the line is in order
    const auto row = [](const QByteArray &line, const QByteArray &complaint) {
        QTest::newRow(line) << line << complaint;
    };
    row("answer = slow", "");
    row("sim.pin=", "");
    row("bogus=1",
        "there is no key \"bogus\": the keys are sim.present, sim.pin, sim.puk, sim.tries, "
        "answer, delay_ms, refused, dial, dial_ms, csq, apn, auth, user, password, "
        "network.user, network.password, ipcp, drop_after_s\n");
    row("silent", "\"silent\" is no line of a scenario: it has no equals sign\n");
    row("answer=Slow",
        "answer cannot be \"Slow\": it is one of normal, silent, echo, slow, pieces\n");
    row("sim.tries=4", "sim.tries cannot be \"4\": it is a whole number from 0 to 3\n");
    row("auth=\nsim.pin=12x4\nsim.puk=1234",
        "auth cannot be \"\": it is one of none, pap, chap\n"
        "sim.pin cannot be \"12x4\": it is 4 to 8 digits, or empty\n"
        "sim.puk cannot be \"1234\": it is 8 digits\n");
    for (const QByteArray number : {"-1", "1.5", "10000000", "99999999999999999999", "2s", ""})
        row("dial_ms=" + number,
            "dial_ms cannot be \"" + number + "\": it is a whole number from 0 to 9999999\n");
}

void MisuseTest::scenario()
{
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, complaint);
    QTemporaryDir folder;
    QFile file(folder.filePath("scenario"));
    QVERIFY(file.open(QFile::WriteOnly));
    file.write("# comment\n\napn=internet\n" + line + "\ndial=busy\n");
    file.close();
    QCOMPARE(run({"--check-scenario", file.fileName()}), complaint.isEmpty() ? 0 : 1);
    QCOMPARE(m_output, complaint);
}

void MisuseTest::unreadableScenario()
{
    QCOMPARE(run({"--check-scenario", "/no/file"}), 1);
    QCOMPARE(m_output, "/no/file: No such file or directory\n");
    QCOMPARE(run({"--check-scenario", "/dev"}), 1);
    QCOMPARE(m_output, "/dev: Invalid argument\n");
}

QTEST_GUILESS_MAIN(MisuseTest)
#include "tst_misuse.moc"
