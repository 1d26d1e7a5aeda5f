// Parameter lists: reading lines of any origin, defaults, and what counts as a change.
#include "core/paramlist.h"

#include <QtTest>
#include <functional>

using namespace ParamList;

class ParamListTest : public QObject
{
    Q_OBJECT

private slots:
    void parsesFiles_data();
    void parsesFiles();
    void trims_data();
    void trims();
    void survivesARoundTrip();
    void readsAuthMethod_data();
    void readsAuthMethod();
    void choosesRadio_data();
    void choosesRadio();
    void shortListsCountAsDefaults();
    void detectsChanges_data();
    void detectsChanges();
};

void ParamListTest::parsesFiles_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("empty file") << QByteArray() << QStringList{};
    QTest::newRow("one bare line feed") << QByteArray("\n") << QStringList{""};
    QTest::newRow("last line without line feed") << QByteArray("a\nb") << QStringList{"a", "b"};
    QTest::newRow("last line with line feed") << QByteArray("a\nb\n") << QStringList{"a", "b"};
    QTest::newRow("CRLF") << QByteArray("a\r\n\r\nb\r\n") << QStringList{"a", "", "b"};
    QTest::newRow("NUL ends its line only")
        << QByteArray("ab\0cd\nef\n", 9) << QStringList{"ab", "ef"};
    QTest::newRow("bytes behind a NUL do not decide the encoding")
        << QByteArray("\xC3\xA4\0\xFF\n", 5) << QStringList{QStringLiteral("ä")};
    QTest::newRow("UTF-8") << QByteArray("\xE9\x80\xA3\xC3\xA9\n")
                           << QStringList{QStringLiteral("連é")};
    QTest::newRow("ISO 8859-1 line beside a UTF-8 line")
        << QByteArray("caf\xE9\n\xC3\xA9\n")
        << QStringList{QStringLiteral("café"), QStringLiteral("é")};
    QTest::newRow("incomplete last character is ISO 8859-1")
        << QByteArray("ab\xC3\n") << QStringList{QStringLiteral("abÃ")};
    QTest::newRow("incomplete at the end of the file")
        << QByteArray("\xE9\x80") << QStringList{QString::fromLatin1("\xE9\x80")};
    QTest::newRow("more lines than have a meaning")
        << QByteArray("1\n2\n3\n4\n5\n0\nx\n") << QStringList{"1", "2", "3", "4", "5", "0", "x"};
}

void ParamListTest::parsesFiles()
{
    QFETCH(QByteArray, content);
    QTEST(parse(content), "lines");
}

void ParamListTest::trims_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("trimmedText");

    QTest::newRow("all six") << " \t\r\n\v\fab \t\r\n\v\f"
                             << "ab";
    QTest::newRow("inside") << " a b "
                            << "a b";
    QTest::newRow("only blanks") << " \t "
                                 << "";
    QTest::newRow("no-break space stays")
        << QStringLiteral("\u00A0a\u3000") << QStringLiteral("\u00A0a\u3000");
    QTest::newRow("other control characters stay")
        << QStringLiteral("\u0008a\u001C") << QStringLiteral("\u0008a\u001C");
}

void ParamListTest::trims()
{
    QFETCH(QString, text);
    QTEST(trimmed(text), "trimmedText");
}

void ParamListTest::survivesARoundTrip()
{
    ScreenValues screen;
    screen.apn = QStringLiteral(" internet ");
    screen.dialNumber = QStringLiteral("*99#");
    screen.user = QStringLiteral("münchen\u00A0");
    screen.password = QStringLiteral("p%1 \"q' \\");
    screen.authMethod = -1;
    screen.counts = QStringLiteral("5\t");

    const QStringList saved = dialUpLines(screen);
    QCOMPARE(saved.size(), 6);
    const QStringList loaded = parse((saved.join('\n') + '\n').toUtf8());
    QCOMPARE(loaded, (QStringList{"internet", "*99#", QStringLiteral("münchen\u00A0"),
                                  "p%1 \"q' \\", "", "-1"}));
    QCOMPARE(authMethod(loaded), -1);
    QCOMPARE(autoConnectLines(screen), (QStringList{"1", "5"})); // no radio selected counts as NO
}

void ParamListTest::readsAuthMethod_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<int>("method");

    QTest::newRow("CHAP") << "2" << 2;
    QTest::newRow("out of range") << "7" << 7;
    QTest::newRow("negative") << "-1" << -1;
    QTest::newRow("not an integer") << "PAP" << 0;
    QTest::newRow("fraction") << "1.5" << 0;
    QTest::newRow("hexadecimal") << "0x1" << 0;
    QTest::newRow("too large") << "99999999999" << 0;
    QTest::newRow("empty") << "" << 0;
}

void ParamListTest::readsAuthMethod()
{
    QFETCH(QString, entry);
    QTEST(authMethod({"", "", "", "", "", entry}), "method");
}

void ParamListTest::choosesRadio_data()
{
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<bool>("yes");

    QTest::newRow("0 is YES") << QStringList{"0", "5"} << true;
    QTest::newRow("1 is NO") << QStringList{"1", "5"} << false;
    QTest::newRow("other integer is NO") << QStringList{"2", "5"} << false;
    QTest::newRow("empty line is YES") << QStringList{"", "5"} << true;
    QTest::newRow("text is YES") << QStringList{"no", "5"} << true;
}

void ParamListTest::choosesRadio()
{
    QFETCH(QStringList, list);
    QFETCH(bool, yes);
    QCOMPARE(autoChoice(list) == AutoChoice::Yes, yes);
}

void ParamListTest::shortListsCountAsDefaults()
{
    QCOMPARE(dialUpEntry({"apn"}, Apn), QStringLiteral("apn"));
    QCOMPARE(dialUpEntry({"apn"}, Password), QString());
    QCOMPARE(dialUpEntry({}, AuthMethod), QStringLiteral("0"));
    QCOMPARE(autoConnectEntry({}, AutoFlag), QStringLiteral("1"));
    QCOMPARE(autoConnectEntry({"0"}, Counts), QStringLiteral("5"));
}

void ParamListTest::detectsChanges_data()
{
    using Edit = std::function<void(ScreenValues &)>;
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<QString>("flag");
    QTest::addColumn<bool>("changed");

    const auto row = [](const char *name, const QString &flag, bool changed, Edit edit) {
        QTest::newRow(name) << edit << flag << changed;
    };
    row("nothing", "1", false, [](ScreenValues &) {});
    row("APN", "1", true, [](ScreenValues &s) { s.apn = "b"; });
    row("APN in another case", "1", true, [](ScreenValues &s) { s.apn = "A"; });
    row("trailing blank", "1", true, [](ScreenValues &s) { s.apn = "a "; });
    row("dial number", "1", true, [](ScreenValues &s) { s.dialNumber = ""; });
    row("user", "1", true, [](ScreenValues &s) { s.user = ""; });
    row("password", "1", true, [](ScreenValues &s) { s.password = "P"; });
    row("PIN", "1", true, [](ScreenValues &s) { s.pin = ""; });
    row("method", "1", true, [](ScreenValues &s) { s.authMethod = 1; });
    row("no method", "1", true, [](ScreenValues &s) { s.authMethod = -1; });
    row("counts", "1", true, [](ScreenValues &s) { s.counts = "05"; });
    row("YES against stored NO", "1", true,
        [](ScreenValues &s) { s.autoConnect = AutoChoice::Yes; });
    row("NO against stored YES", "0", true,
        [](ScreenValues &s) { s.autoConnect = AutoChoice::No; });
    row("YES against stored YES", "0", false,
        [](ScreenValues &s) { s.autoConnect = AutoChoice::Yes; });
    row("YES against an unknown flag", "2", false,
        [](ScreenValues &s) { s.autoConnect = AutoChoice::Yes; });
    row("neither selected", "1", false, [](ScreenValues &s) { s.autoConnect = AutoChoice::Unset; });
}

void ParamListTest::detectsChanges()
{
    QFETCH(std::function<void(ScreenValues &)>, edit);
    QFETCH(QString, flag);
    ScreenValues screen{"a", "*99#", "u", "p", "1234", 0, AutoChoice::No, "5"};
    edit(screen);
    QTEST(differs(screen, {"a", "*99#", "u", "p", "1234", "0", "extra"}, {flag, "5"}), "changed");
}

QTEST_GUILESS_MAIN(ParamListTest)
#include "tst_paramlist.moc"
