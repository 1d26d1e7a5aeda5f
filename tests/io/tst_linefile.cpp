// Files of lines: links and huge files. tests/program/test_params.py has what else may stand in a
// file's place, who may read it afterwards, and storage that fails half-way.
#include "io/linefile.h"

#include <QtTest>

namespace
{

void put(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

class LineFileTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_folder.reset(new QTemporaryDir); }
    void followsALinkToARegularFile();
    void readsAtMostAMebibyte();
    void tellsFailuresWhenAsked();

private:
    QString path(const char *name) const { return m_folder->filePath(QLatin1String(name)); }

    QScopedPointer<QTemporaryDir> m_folder;
};

void LineFileTest::followsALinkToARegularFile()
{
    put(path("real"), "x\n");
    QVERIFY(QFile::link(path("real"), path("link")));
    QVERIFY(linefile::write(path("link"), {"y"}));
    QCOMPARE(linefile::read(path("link")).bytes, QByteArray("y\n"));
    QVERIFY(QFileInfo(path("link")).isSymLink());
}

void LineFileTest::readsAtMostAMebibyte()
{
    put(path("f"), QByteArray(3 << 20, 'x'));
    QCOMPARE(linefile::read(path("f")).bytes.size(), 1024 * 1024);
}

void LineFileTest::tellsFailuresWhenAsked()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    QVERIFY(!linefile::write(m_folder->path(), {"x"}));
    QLoggingCategory::setFilterRules(QStringLiteral("corvanta.files.warning=true"));
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("^open .*: Is a directory$")));
    QVERIFY(!linefile::write(m_folder->path(), {"x"}));
}

QTEST_GUILESS_MAIN(LineFileTest)
#include "tst_linefile.moc"
