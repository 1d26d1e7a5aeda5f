// Lines of any origin. Defaults, trimming on the way out and what counts as a change are tested
// with the whole program, where a mistake would keep an operator from dialling.
#include "core/lineencoding.h"
#include "core/paramlist.h"

#include <QtTest>

using namespace paramlist;

class ParamListTest : public QObject
{
    Q_OBJECT

private slots:
    void parsesFiles_data();
    void parsesFiles();
    void keepsEveryText_data();
    void keepsEveryText();
};

void ParamListTest::parsesFiles_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("lines");

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
    QTest::newRow("blanks around, not inside")
        << QByteArray(" \t\v\fa b \t\r\v\f\n \t\n") << QStringList{"a b", ""};
    const QString kept = QStringLiteral("\u00A0\u0008a\u001C\u3000");
    QTest::newRow("a byte order mark is a character")
        << QByteArray("\xEF\xBB\xBFx\n") << QStringList{QStringLiteral("\uFEFFx")};
    QTest::newRow("a surrogate's bytes in a line of ISO 8859-1")
        << QByteArray("\xFF\xED\xA0\x80\n") << QStringList{QString::fromLatin1("\xFF\xED\xA0\x80")};
    QTest::newRow("other white space stays") << kept.toUtf8() << QStringList{kept};
}

void ParamListTest::parsesFiles()
{
    QFETCH(QByteArray, content);
    QTEST(parseLines(content), "lines");
}

void ParamListTest::keepsEveryText_data()
{
    QTest::addColumn<QString>("text");

    const QChar high(0xD83D);
    const QChar low(0xDE00);
    QTest::newRow("pair") << QString(high) + low;
    QTest::newRow("lone halves") << QStringLiteral("a") + low + u'b' + high;
    QTest::newRow("halves in the wrong order") << QString(low) + high;
    QTest::newRow("two highs and a low") << QString(high) + high + low;
    QTest::newRow("byte order mark in front") << QStringLiteral("\uFEFFx");
    QTest::newRow("looks like ISO 8859-1") << QStringLiteral("\u00C3\u00A4");
}

void ParamListTest::keepsEveryText()
{
    QFETCH(QString, text);
    QCOMPARE(decodeLine(lineencoding::encode(text) + '\n'), text);
}

QTEST_GUILESS_MAIN(ParamListTest)
#include "tst_paramlist.moc"
