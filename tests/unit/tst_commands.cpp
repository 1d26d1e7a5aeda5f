// Effects outside the program: the shell, log rotation, descriptors.
#include "io/atport.h"
#include "io/logrotation.h"
#include "io/shellcommand.h"

#include <QtTest>
#include <fcntl.h>
#include <pty.h>

class CommandsTest : public QObject
{
    Q_OBJECT

private slots:
    void shellResults_data();
    void shellResults();
    void aShellThatCannotStartDoesNotSucceed();
    void backgroundIsNotWaitedFor();
    void rotation_data();
    void rotation();
    void atPortIsPrivateAndNeverBlocks();
};

void CommandsTest::shellResults_data()
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

void CommandsTest::shellResults()
{
    QFETCH(QString, line);
    const ShellResult result = runShell(line);
    QTEST(result.status, "status");
    QTEST(result.output, "output");
    QTEST(result.errors, "errors");
}

void CommandsTest::aShellThatCannotStartDoesNotSucceed()
{
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/nonexistent");
    const int status = runShell(QStringLiteral("true")).status;
    qputenv("PATH", path);
    QVERIFY(status != 0);
}

void CommandsTest::backgroundIsNotWaitedFor()
{
    QElapsedTimer time;
    time.start();
    QCOMPARE(runShell(QStringLiteral("sleep 20 &")).status, 0);
    QVERIFY(time.elapsed() < 10000);
}

void CommandsTest::rotation_data()
{
    QTest::addColumn<QString>("before"); // name=content, separated by blanks
    QTest::addColumn<QString>("after");

    QTest::newRow("nothing") << ""
                             << "";
    QTest::newRow("first logs") << "a=1 b=2"
                                << "a.old=1 b.old=2";
    QTest::newRow("older copies go") << "a=1 a.old=0 b=2 b.old=0"
                                     << "a.old=1 b.old=2";
    QTest::newRow("old copy without a log") << "a=1 b.old=0"
                                            << "a.old=1";
    QTest::newRow("old copy that cannot be removed") << "a=1 a.old/x=0 b=2"
                                                     << "a.old/x=0 a=1 b.old=2";
}

void CommandsTest::rotation()
{
    QFETCH(QString, before);
    QTemporaryDir folder;
    for (const QString &entry : before.split(' ', Qt::SkipEmptyParts)) {
        const QString path = folder.filePath(entry.section('=', 0, 0));
        QVERIFY(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(entry.section('=', 1).toLatin1());
    }
    rotateLogs({folder.filePath("a"), folder.filePath("b")});

    QStringList after;
    QDirIterator it(folder.path(), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile file(it.next());
        QVERIFY(file.open(QIODevice::ReadOnly));
        after << QDir(folder.path()).relativeFilePath(file.fileName()) + '=' + file.readAll();
    }
    after.sort();
    QTEST(after.join(' '), "after");
}

void CommandsTest::atPortIsPrivateAndNeverBlocks()
{
    int master = -1;
    int slave = -1;
    char name[256];
    QCOMPARE(::openpty(&master, &slave, name, nullptr, nullptr), 0);
    const FileDescriptor modem(master);
    const FileDescriptor line(slave);
    ::fcntl(master, F_SETFD, FD_CLOEXEC);
    ::fcntl(slave, F_SETFD, FD_CLOEXEC);
    AtPort port(name);
    QVERIFY(port.isOpen());
    QCOMPARE(port.readChunk(), QByteArray()); // nothing there: at once
    QCOMPARE(
        runShell(QStringLiteral("ls -l /proc/self/fd | grep -c '%1'").arg(name)).output.trimmed(),
        QByteArray("0")); // processes that are started inherit nothing
    QVERIFY(port.write("A"));
    QCOMPARE(::write(master, QByteArray(200, 'x').append('\n').constData(), 201), 201);
    QCOMPARE(port.readChunk().size(), 128);
    QCOMPARE(port.close(), 0);
}

QTEST_GUILESS_MAIN(CommandsTest)
#include "tst_commands.moc"
