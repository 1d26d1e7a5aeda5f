// Files of lines: symbolic links, power cuts, file systems without modes, and read errors. The
// end-to-end tests cover huge files, other file types, owners, and write errors.
#include "core/paramlist.h"
#include "io/linefile.h"

#include <QtTest>
#include <cerrno>
#include <sys/types.h>
#include <utility>

namespace
{

/** The possible contents of a file after a power cut: each state of its block since the last sync,
 *  truncated to each size since then. */
struct Disk {
    QByteArray data; ///< of the file's only block; zeros after the end of the file
    qsizetype size = 0;
    QByteArrayList datas;      ///< states of the block since the last sync
    QList<qsizetype> sizes;    ///< since the last sync
    QSet<QByteArray> contents; ///< after a power cut at any time so far

    void begin(const QByteArray &content)
    {
        data = content.leftJustified(4096, '\0');
        size = content.size();
        sync();
        contents.clear();
    }
    void change(const QByteArray &newData, qsizetype newSize)
    {
        data = newData;
        size = newSize;
        datas << data;
        sizes << size;
        for (const QByteArray &each : std::as_const(datas)) {
            for (const qsizetype length : std::as_const(sizes))
                contents << each.left(length);
        }
    }
    void sync()
    {
        datas = {data};
        sizes = {size};
    }
};

Disk disk;
int readError = 0;  ///< errno of every read; 0 if reads succeed
int chmodError = 0; ///< errno of every change of a mode; 0 if they succeed
int callsLeft = -1; ///< calls of a save before the one that fails with EIO; negative if none fails

/** @return true for the call that fails */
bool fails()
{
    errno = EIO;
    return callsLeft-- == 0;
}

void put(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

// System calls of the program, redirected by the linker's --wrap.
extern "C" {
ssize_t __real_pread64(int fd, void *buffer, size_t count, off_t offset);
ssize_t __wrap_pread64(int fd, void *buffer, size_t count, off_t offset)
{
    errno = readError;
    return readError != 0 ? -1 : __real_pread64(fd, buffer, count, offset);
}

int __real_fchmod(int fd, mode_t mode);
int __wrap_fchmod(int fd, mode_t mode)
{
    errno = chmodError;
    return chmodError != 0 ? -1 : __real_fchmod(fd, mode);
}

ssize_t __real_pwrite64(int fd, const void *bytes, size_t count, off_t offset);
ssize_t __wrap_pwrite64(int fd, const void *bytes, size_t count, off_t offset)
{
    if (fails())
        return -1;
    if (callsLeft >= 0)
        count = (count + 1) / 2; // so that a later call can fail halfway
    const auto length = static_cast<qsizetype>(count);
    QByteArray data = disk.data;
    data.replace(offset, length, static_cast<const char *>(bytes), length);
    disk.change(data, std::max<qsizetype>(disk.size, offset + length));
    return __real_pwrite64(fd, bytes, count, offset);
}

int __real_ftruncate64(int fd, off_t length);
int __wrap_ftruncate64(int fd, off_t length)
{
    if (fails())
        return -1;
    disk.change(disk.data.left(length).leftJustified(disk.data.size(), '\0'), length);
    return __real_ftruncate64(fd, length);
}

int __real_fsync(int fd);
int __wrap_fsync(int fd)
{
    if (fails())
        return -1;
    disk.sync();
    return __real_fsync(fd);
}
}

class LineFileTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_directory.reset(new QTemporaryDir); }
    void powerCutLeavesOldOrNewValues_data();
    void powerCutLeavesOldOrNewValues();
    void failedSaveKeepsTheOldContent_data() { powerCutLeavesOldOrNewValues_data(); }
    void failedSaveKeepsTheOldContent();
    void savesDespiteErrors();
    void followsALinkToARegularFile();
    void logsFailuresIfEnabled();

private:
    QString path(const char *name) const { return m_directory->filePath(QLatin1String(name)); }

    QScopedPointer<QTemporaryDir> m_directory;
};

void LineFileTest::powerCutLeavesOldOrNewValues_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    const QByteArray small = "internet\n*99#\nuser\nsecret\n1234\n0\n";
    const QByteArray large = "internet.provider\n*99***1#\nuser@apn\nlonger.secret\n12345678\n2\n";
    const QByteArray other = "INTERNET\n*98#\nUSER\nSECRET\n4321\n1\n";
    QTest::newRow("longer") << small << large;
    QTest::newRow("longer, no last newline") << small.chopped(1) << large;
    QTest::newRow("shorter") << large << small;
    QTest::newRow("shorter, more lines") << large + "\n\nx\n" << small;
    QTest::newRow("as long") << small << other;
    QTest::newRow("empty file") << QByteArray() << small;
}

void LineFileTest::powerCutLeavesOldOrNewValues()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    put(path("f"), before);
    disk.begin(before);
    QVERIFY(linefile::write(path("f"), QString::fromLatin1(after.chopped(1)).split('\n')));
    QCOMPARE(linefile::read(path("f")).bytes, after);
    QCOMPARE(disk.data.left(disk.size), after);
    QCOMPARE(disk.sizes.size(), 1); // synced
    for (const QByteArray &content : std::as_const(disk.contents)) {
        const QStringList values = paramlist::parseLines(content).mid(0, paramlist::DialUpCount);
        const bool isShort = values.size() < paramlist::DialUpCount;
        QVERIFY2(values == paramlist::parseLines(after) ||
                     (before.isEmpty()
                          ? isShort
                          : values == paramlist::parseLines(before).mid(0, paramlist::DialUpCount)),
                 content.toPercentEncoding());
    }
}

void LineFileTest::failedSaveKeepsTheOldContent()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    int failures = 0;
    for (bool isSaved = false; !isSaved; ++failures) {
        put(path("f"), before);
        callsLeft = failures;
        isSaved = linefile::write(path("f"), QString::fromLatin1(after.chopped(1)).split('\n'));
        callsLeft = -1;
        QCOMPARE(linefile::read(path("f")).bytes, isSaved ? after : before);
    }
    QVERIFY(failures > 5);
}

void LineFileTest::savesDespiteErrors()
{
    put(path("f"), "a longer value\n");
    chmodError = EPERM; // a file system without modes
    QVERIFY(linefile::write(path("f"), {"typed"}));
    chmodError = 0;
    QCOMPARE(linefile::read(path("f")).bytes, QByteArray("typed\n"));
    readError = EIO;
    QCOMPARE(linefile::read(path("f")).state, linefile::ReadResult::Unreadable);
    QVERIFY(linefile::write(path("f"), {"more"}));
    readError = 0;
    QCOMPARE(linefile::read(path("f")).bytes, QByteArray("more\n"));
}

void LineFileTest::followsALinkToARegularFile()
{
    put(path("real"), "x\n");
    QVERIFY(QFile::link(path("real"), path("link")));
    QVERIFY(linefile::write(path("link"), {"y"}));
    QCOMPARE(linefile::read(path("link")).bytes, QByteArray("y\n"));
    QVERIFY(QFileInfo(path("link")).isSymLink());
}

void LineFileTest::logsFailuresIfEnabled()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    QVERIFY(!linefile::write(m_directory->path(), {"x"}));
    QLoggingCategory::setFilterRules(QStringLiteral("corvanta.files.warning=true"));
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("^open .*: Is a directory$")));
    QVERIFY(!linefile::write(m_directory->path(), {"x"}));
}

QTEST_GUILESS_MAIN(LineFileTest)
#include "tst_linefile.moc"
