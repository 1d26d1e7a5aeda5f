// Files of lines: what may be opened, who may read them, and storage that fails half-way.
#include "io/linefile.h"

#include <QtTest>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

namespace
{

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(cannot be opened)");
}

void put(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

mode_t modeOf(const QString &path)
{
    struct stat info;
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_mode & 07777 : 0;
}

/** No file of this process can grow beyond a size while this lives: writes fail half-way. */
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    rlimit m_before;
};

} // namespace

class LineFileTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_folder.reset(new QTemporaryDir); }
    void writesForItsOwnerAlone();
    void closesUpAnExistingFile();
    void refusesWhatIsNoRegularFile_data();
    void refusesWhatIsNoRegularFile();
    void followsALinkToARegularFile();
    void putsEarlierContentBack();
    void removesANewFileThatFailed();
    void createsNoFolder();
    void readsAtMostAMebibyte();

private:
    QString path(const char *name) const { return m_folder->filePath(QLatin1String(name)); }

    QScopedPointer<QTemporaryDir> m_folder;
};

void LineFileTest::writesForItsOwnerAlone()
{
    const mode_t mask = ::umask(0);
    QVERIFY(LineFile::write(path("f"), {"a", "", QStringLiteral("é")}));
    ::umask(mask);
    QCOMPARE(content(path("f")), QByteArray("a\n\n\xC3\xA9\n"));
    QCOMPARE(modeOf(path("f")), mode_t(0600));
}

void LineFileTest::closesUpAnExistingFile()
{
    put(path("f"), "a longer content than the new one\n");
    QVERIFY(QFile::setPermissions(path("f"), QFile::Permissions(0x6664)));
    struct stat before;
    QVERIFY(::stat(QFile::encodeName(path("f")).constData(), &before) == 0);
    QVERIFY(LineFile::write(path("f"), {"a"}));
    struct stat after;
    QVERIFY(::stat(QFile::encodeName(path("f")).constData(), &after) == 0);
    QCOMPARE(content(path("f")), QByteArray("a\n"));
    QCOMPARE(modeOf(path("f")), mode_t(0600));
    QCOMPARE(after.st_ino, before.st_ino); // in place: no other file took its name
}

void LineFileTest::refusesWhatIsNoRegularFile_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"missing folder", "directory", "FIFO", "device"})
        QTest::newRow(kind) << kind;
}

void LineFileTest::refusesWhatIsNoRegularFile()
{
    QFETCH(QString, kind);
    QString name = path("there");
    if (kind == u"missing folder")
        name = path("no/such");
    else if (kind == u"directory")
        QVERIFY(QDir().mkdir(name));
    else if (kind == u"FIFO")
        QCOMPARE(::mkfifo(QFile::encodeName(name).constData(), 0600), 0);
    else
        name = QStringLiteral("/dev/zero"); // reading it would never end
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^open "));
    QVERIFY(!LineFile::read(name));
    QVERIFY(!LineFile::write(name, {"a"}));
}

void LineFileTest::followsALinkToARegularFile()
{
    put(path("real"), "x\n");
    QVERIFY(QFile::link(path("real"), path("link")));
    QVERIFY(LineFile::write(path("link"), {"y"}));
    QCOMPARE(LineFile::read(path("link")).value_or("none"), QByteArray("y\n"));
    QVERIFY(QFileInfo(path("link")).isSymLink());
}

void LineFileTest::putsEarlierContentBack()
{
    put(path("f"), "kept\n");
    const FileSizeLimit limit(8);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^write "));
    QVERIFY(!LineFile::write(path("f"), {"12345", "67890"}));
    QCOMPARE(content(path("f")), QByteArray("kept\n"));
}

void LineFileTest::removesANewFileThatFailed()
{
    const FileSizeLimit limit(8);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^write "));
    QVERIFY(!LineFile::write(path("f"), {"12345", "67890"}));
    QVERIFY(!QFile::exists(path("f"))); // an empty file would hide the defaults
}

void LineFileTest::createsNoFolder()
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^open "));
    QVERIFY(!LineFile::write(path("folder/f"), {"a"}));
    QVERIFY(!QFile::exists(path("folder")));
}

void LineFileTest::readsAtMostAMebibyte()
{
    put(path("f"), QByteArray(3 * 1024 * 1024, 'x'));
    QCOMPARE(LineFile::read(path("f")).value_or(QByteArray()).size(), 1024 * 1024);
}

QTEST_GUILESS_MAIN(LineFileTest)
#include "tst_linefile.moc"
