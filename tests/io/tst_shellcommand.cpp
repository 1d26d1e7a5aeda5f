// Status and output of command lines.
#include "io/shellcommand.h"

#include <QLoggingCategory>
#include <QTemporaryFile>
#include <QtTest>
#include <unistd.h>

class ShellCommandTest : public QObject
{
    Q_OBJECT

private slots:
    void results_data();
    void results();
    void keepsTheBeginningOfMuch();
    void logsErrorsIfEnabled();
    void outlivesTheReaderOfErrors();
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

/** Run a command with another file as the standard error of this process. @return exit status */
static int runWithErrorsTo(int file, const QString &line, bool logged = true)
{
    const int before = dup(STDERR_FILENO);
    dup2(file, STDERR_FILENO);
    if (logged)
        QLoggingCategory::setFilterRules(QStringLiteral("corvanta.*.warning=true"));
    const int status = runShell(line);
    QLoggingCategory::setFilterRules(QString());
    dup2(before, STDERR_FILENO);
    close(before);
    return status;
}

void ShellCommandTest::logsErrorsIfEnabled()
{
    QTemporaryFile log;
    QVERIFY(log.open());
    runWithErrorsTo(log.handle(), "echo silent >&2", false);
    runWithErrorsTo(log.handle(), "echo output; echo why >&2");
    log.seek(0);
    QCOMPARE(log.readAll(), QByteArray("why\n"));
}

void ShellCommandTest::outlivesTheReaderOfErrors()
{
    int ends[2];
    QCOMPARE(pipe(ends), 0);
    close(ends[0]);
    QCOMPARE(runWithErrorsTo(ends[1], "sh -c 'echo why >&2; exit 7'"), 7);
    close(ends[1]);
}

QTEST_GUILESS_MAIN(ShellCommandTest)
#include "tst_shellcommand.moc"
