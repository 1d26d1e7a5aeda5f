// pppfiles puts every value where the program puts it, in files for their owner alone.
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class PppFilesTest : public QObject
{
    Q_OBJECT

private slots:
    void files_data();
    void files();
    void noFolder();
};

namespace
{

int run(const QStringList &arguments)
{
    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedChannels);
    program.start(PPPFILES, arguments);
    return program.waitForFinished() ? program.exitCode() : -1;
}

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : "cannot read " + path.toUtf8();
}

} // namespace

void PppFilesTest::files_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("chat");
    QTest::addColumn<QByteArray>("peer");
    const QStringList all{"--apn=web.example",    "--dial=*99***1#", "--user=guest",
                          "--password=pass word", "--pin=1234",      "--method=1"};
    QTest::newRow("every value") << all << content(EXPECTED "chat-with-pin")
                                 << content(EXPECTED "peer-pap");
    QTest::newRow("no value")
        << QStringList()
        << content(EXPECTED "chat-without-pin")
               .replace("web.example", "internet")
               .replace("***1#", "#")
        << content(EXPECTED "peer-auto").replace("guest", "").replace("pass word", "");
}

void PppFilesTest::files()
{
    QFETCH(QStringList, options);
    QTemporaryDir folder;
    QCOMPARE(run(options << folder.path()), 0);
    QTEST(content(folder.filePath("chat")), "chat");
    QTEST(content(folder.filePath("ppp-connect")), "peer");
    for (const char *name : {"chat", "ppp-connect"})
        QCOMPARE(QFile::permissions(folder.filePath(name)) &
                     (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
                 QFile::Permissions());
}

void PppFilesTest::noFolder()
{
    QCOMPARE(run({"/no/folder"}), 1);
}

QTEST_GUILESS_MAIN(PppFilesTest)
#include "tst_pppfiles.moc"
