// Chat script and peer file with values that could break their syntax, and the words that pppd
// reads from such values. The end-to-end tests compare complete files byte for byte.
#include "core/chatscript.h"
#include "core/peerfile.h"
#include "core/pppdwords.h"

#include <QtTest>

class GeneratedFilesTest : public QObject
{
    Q_OBJECT

private slots:
    void chatValues_data();
    void chatValues();
    void peerValuesStandAsTheyAre();
    void pppdReadsWords_data();
    void pppdReadsWords();
};

void GeneratedFilesTest::chatValues_data()
{
    QTest::addColumn<QStringList>("params");
    QTest::addColumn<QStringList>("tail"); // everything after the eleven fixed lines

    const QStringList reset{"'' 'ATZ'", "'OK' 'ATI'", "'OK' 'AT+COPS?'"};
    QTest::newRow("blank PIN, spaces around values")
        << QStringList{" net ", "\t*99# ", "", "", " \v ", "0"}
        << (reset + QStringList{"'OK' 'AT+CGDCONT=1,\"IP\",\"net\"'", "'OK' '\"ATD*99#\"'"});
    QTest::newRow("empty values, short list")
        << QStringList{}
        << (reset + QStringList{"'OK' 'AT+CGDCONT=1,\"IP\",\"\"'", "'OK' '\"ATD\"'"});
    QTest::newRow("quotes and place markers unchanged")
        << QStringList{"a'b\"%1", "%2", "", "", "%1\\", "0"}
        << (QStringList{"'' 'AT+CPIN=\"%1\\\"'", "'ERROR-AT-OK' 'ATZ'"} + reset.mid(1) +
            QStringList{"'OK' 'AT+CGDCONT=1,\"IP\",\"a'b\"%1\"'", "'OK' '\"ATD%2\"'"});
}

void GeneratedFilesTest::chatValues()
{
    QFETCH(QStringList, params);
    QTEST(chatScriptLines(params).mid(11), "tail");
}

void GeneratedFilesTest::peerValuesStandAsTheyAre()
{
    const QStringList lines = peerFileLines({"", "", " \"a b\" ", "%1'\\#", "", "0"}, "192.0.2.1");
    QCOMPARE(lines.mid(9, 3), (QStringList{"user \"a b\"", "password %1'\\#", "ms-dns 192.0.2.1"}));
    QCOMPARE(peerFileLines({}, "192.0.2.1").mid(9, 2), (QStringList{"user ", "password "}));
}

/** Words that pppd 2.4.9 reads from a file with two lines, the value and "next". They were observed
 * in its error message "unrecognized option". */
void GeneratedFilesTest::pppdReadsWords_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QByteArrayList>("words");

    using Row = QByteArrayList; // a value and its words
    const auto row = [](const Row &columns) {
        QTest::newRow(columns[0].left(40)) << columns[0] << columns.mid(1);
    };
    for (const Row &one :
         {Row{"x", "x"}, Row{"\"x y\"", "x y"}, Row{"'x'y", "xy"}, Row{"it\"'\"s", "it's"},
          Row{"a\\ b", "a b"}, Row{"a#b", "a"}, Row{"\"\"", ""}, Row{"x'y z'w", "xy zw"},
          Row{"\"a\\\"b\"", "a\"b"}, Row{"\\#a", "#a"}, Row{"\"a b\"#c", "a b"},
          Row{"a\\x41b", "aAb"}, Row{"a\\101b", "aAb"}, Row{"a\\sb\\n", "a b\n"}, Row{"  x  ", "x"},
          Row{QByteArray(1025, 'x'), QByteArray(1023, 'x')}})
        row(one);
    for (const Row &other : {Row{"x y", "x", "y"}, Row{"'x'y z", "xy", "z"}, Row{"#ab"}, Row{""},
                             Row{"ends\\", "endsnext"}, Row{"a\"b", "ab\nnext\n"}})
        row(other);
}

void GeneratedFilesTest::pppdReadsWords()
{
    QFETCH(QByteArray, value);
    QFETCH(QByteArrayList, words);
    const PppdWords read = splitPppdWords(value + "\nnext\n");
    const bool reachesNext = words.value(0).contains("next");
    QCOMPARE(read.words, reachesNext ? words : words + QByteArrayList{"next"});
    QCOMPARE(read.hasOpenQuote, value == "a\"b");
    QCOMPARE(isOnePppdWord(value), value.isEmpty() || (words.size() == 1 && !reachesNext));
}

QTEST_GUILESS_MAIN(GeneratedFilesTest)
#include "tst_generatedfiles.moc"
