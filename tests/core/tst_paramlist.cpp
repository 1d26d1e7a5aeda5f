// Parameter files with any content, and the edits on the screen that count as a change.
#include "core/paramlist.h"

#include <QtTest>

using namespace paramlist;

class ParamListTest : public QObject
{
    Q_OBJECT

private slots:
    void parsesFiles_data();
    void parsesFiles();
    void noticesChanges_data();
    void noticesChanges();
};

void ParamListTest::parsesFiles_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("no newline at the end") << QByteArray("a\nb") << QStringList{"a", "b"};
    QTest::newRow("newline at the end") << QByteArray("a\nb\n") << QStringList{"a", "b"};
    QTest::newRow("CRLF") << QByteArray("a\r\n\r\nb\r\n") << QStringList{"a", "", "b"};
    QTest::newRow("NUL ends its line only")
        << QByteArray("ab\0cd\nef\n", 9) << QStringList{"ab", "ef"};
    QTest::newRow("bytes behind a NUL do not affect the encoding")
        << QByteArray("\xC3\xA4\0\xFF\n", 5) << QStringList{QStringLiteral("ä")};
    QTest::newRow("ISO 8859-1 line next to a UTF-8 line")
        << QByteArray("caf\xE9\n\xE9\x80\xA3\n")
        << QStringList{QStringLiteral("café"), QStringLiteral("連")};
    QTest::newRow("incomplete last character is ISO 8859-1")
        << QByteArray("ab\xC3\n\xE9\x80") << QStringList{"abÃ", QString::fromLatin1("\xE9\x80")};
    QTest::newRow("a surrogate's bytes are ISO 8859-1")
        << QByteArray("\xFF\xED\xA0\x80\n") << QStringList{QString::fromLatin1("\xFF\xED\xA0\x80")};
    QTest::newRow("spaces around, not inside")
        << QByteArray(" \t\v\fa b \t\r\v\f\n \t\n") << QStringList{"a b", ""};
    const QString kept = QStringLiteral("\uFEFF\u00A0\u0008a\u001C\u3000");
    QTest::newRow("byte order mark and other white space") << kept.toUtf8() << QStringList{kept};
}

void ParamListTest::parsesFiles()
{
    QFETCH(QByteArray, content);
    QTEST(parseLines(content), "lines");
}

using Edit = std::function<void(ScreenValues &)>;

void ParamListTest::noticesChanges_data()
{
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<bool>("changed");
    const auto row = [](const char *name, bool changed, const Edit &edit) {
        QTest::newRow(name) << edit << changed;
    };
    row("untouched", false, [](ScreenValues &) {});
    row("APN", true, [](ScreenValues &screen) { screen.dialUp.apn = "internet "; });
    row("number", true, [](ScreenValues &screen) { screen.dialUp.dialNumber = "*98#"; });
    row("user", true, [](ScreenValues &screen) { screen.dialUp.user = "User"; });
    row("password", true, [](ScreenValues &screen) { screen.dialUp.password += ' '; });
    row("PIN", true, [](ScreenValues &screen) { screen.dialUp.pin.clear(); });
    row("method", true, [](ScreenValues &screen) { screen.dialUp.authMethod = Chap; });
    row("choice", true, [](ScreenValues &screen) { screen.autoConnect.choice = AutoChoice::No; });
    row("no choice", false,
        [](ScreenValues &screen) { screen.autoConnect.choice = AutoChoice::Unset; });
    row("Counts", true, [](ScreenValues &screen) { screen.autoConnect.counts = "05"; });
}

void ParamListTest::noticesChanges()
{
    QFETCH(Edit, edit);
    QFETCH(bool, changed);
    const QStringList dialUp{"internet", "*99#", "user", "secret", "1234", "1"};
    ScreenValues screen{*dialUpValues(dialUp), *autoConnectValues({"0", "5"})};
    edit(screen);
    QCOMPARE(differs(screen, dialUp, {"0", "5"}), changed);
    const ScreenValues empty{{}, {AutoChoice::No, "5"}};
    QVERIFY(!differs(empty, {}, {})); // missing lines count as defaults
}

QTEST_GUILESS_MAIN(ParamListTest)
#include "tst_paramlist.moc"
