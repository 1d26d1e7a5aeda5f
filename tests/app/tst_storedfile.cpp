// A parameter file that changes between a load and a save. A save must not replace it with defaults
// that the operator has not edited.
#include "app/storedfile.h"

#include <QtTest>

class StoredFileTest : public QObject
{
    Q_OBJECT

private slots:
    void save_data();
    void save();
};

enum Place { Nothing, File, Directory }; // what is at the path

static void lay(const QString &path, int place)
{
    QFile::remove(path);
    QDir().rmdir(path);
    QFile file(path);
    if (place == Directory)
        QDir().mkdir(path);
    else if (place == File && file.open(QIODevice::WriteOnly))
        file.write("0\n3\n");
}

void StoredFileTest::save_data()
{
    QTest::addColumn<int>("atLoad");
    QTest::addColumn<int>("atSave");
    QTest::addColumn<bool>("edited");
    QTest::addColumn<bool>("stored"); // true if the save writes the shown values
    QTest::newRow("unreadable") << int(Directory) << int(File) << false << false;
    QTest::newRow("unreadable, edited") << int(Directory) << int(File) << true << true;
    QTest::newRow("mounted late") << int(Nothing) << int(File) << false << false;
    QTest::newRow("mounted late, edited") << int(Nothing) << int(File) << true << true;
    QTest::newRow("missing") << int(Nothing) << int(Nothing) << false << true;
    QTest::newRow("read") << int(File) << int(File) << false << true;
}

void StoredFileTest::save()
{
    QFETCH(int, atLoad);
    QFETCH(int, atSave);
    QFETCH(bool, edited);
    QFETCH(bool, stored);
    const QTemporaryDir directory;
    const QString path = directory.filePath("f");
    StoredFile file(qPrintable(path), {"1", "5"});
    QStringList list;
    lay(path, atLoad);
    file.load(list);
    QCOMPARE(list, atLoad == File ? QStringList({"0", "3"}) : QStringList({"1", "5"}));
    QCOMPARE(file.isUnknown(), atLoad == Directory);
    if (edited)
        file.noteEdit();
    lay(path, atSave);
    file.save({"1", "5"});
    QFile saved(path);
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QCOMPARE(saved.readAll(), QByteArray(stored ? "1\n5\n" : "0\n3\n"));
}

QTEST_GUILESS_MAIN(StoredFileTest)
#include "tst_storedfile.moc"
