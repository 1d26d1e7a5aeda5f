// Status and output of command lines.
#include "io/shellcommand.h"

#include <QtTest>

class ShellCommandTest : public QObject
{
    Q_OBJECT

private slots:
    void results_data();
    void results();
    void keepsTheBeginningOfMuch();
};

void ShellCommandTest::results_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("errors");

    QTest::newRow("success") << "echo a; echo b >&2" << 0 << QByteArray("a\n") << QByteArray("b\n");
    QTest::newRow("pipe without a match") << "echo a | grep b" << 1 << QByteArray() << QByteArray();
    QTest::newRow("killed") << "kill -9 $$" << -1 << QByteArray() << QByteArray();
    QTest::newRow("reads no input") << "cat" << 0 << QByteArray() << QByteArray();
}

void ShellCommandTest::results()
{
    QFETCH(QString, line);
    const ShellResult result = runShellForOutput(line);
    QTEST(result.status, "status");
    QTEST(result.standardOutput, "output");
    QTEST(result.standardError, "errors");
    QTEST(runShell(line), "status");
}

void ShellCommandTest::keepsTheBeginningOfMuch()
{
    const ShellResult result = runShellForOutput("yes out | head -c 5000000; "
                                                 "yes err | head -c 5000000 >&2; exit 3");
    QCOMPARE(result.status, 3);
    QCOMPARE(result.standardOutput.size(), MaxOutputBytes);
    QCOMPARE(result.standardError.size(), MaxOutputBytes);
    QVERIFY(result.standardOutput.startsWith("out\nout\n"));
}

QTEST_GUILESS_MAIN(ShellCommandTest)
#include "tst_shellcommand.moc"
