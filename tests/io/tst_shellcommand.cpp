// What a command line gives back.
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
    void saysWhyWhenAsked();
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

void ShellCommandTest::saysWhyWhenAsked()
{
    QTemporaryFile said;
    QVERIFY(said.open());
    const int before = dup(STDERR_FILENO);
    dup2(said.handle(), STDERR_FILENO);
    runShell("echo silent >&2");
    QLoggingCategory::setFilterRules(QStringLiteral("corvanta.*.warning=true"));
    runShell("echo output; echo why >&2");
    QLoggingCategory::setFilterRules(QString());
    dup2(before, STDERR_FILENO);
    close(before);
    said.seek(0);
    QCOMPARE(said.readAll(), QByteArray("why\n"));
}

void ShellCommandTest::outlivesTheReaderOfErrors()
{
    int ends[2];
    QCOMPARE(pipe(ends), 0);
    close(ends[0]);
    const int before = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    QLoggingCategory::setFilterRules(QStringLiteral("corvanta.*.warning=true"));
    const int status = runShell("sh -c 'echo why >&2; exit 7'");
    QLoggingCategory::setFilterRules(QString());
    dup2(before, STDERR_FILENO);
    close(before);
    close(ends[1]);
    QCOMPARE(status, 7);
}

QTEST_GUILESS_MAIN(ShellCommandTest)
#include "tst_shellcommand.moc"
