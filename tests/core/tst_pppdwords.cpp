// The words that pppd reads from a value in the peer file.
#include "core/pppdwords.h"

#include <QtTest>

class PppdWordsTest : public QObject
{
    Q_OBJECT

private slots:
    void words_data();
    void words();
};

/** Words that pppd 2.4.9 reads from a file with two lines, the value and "next". They were observed
 * in its error message "unrecognized option". */
void PppdWordsTest::words_data()
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

void PppdWordsTest::words()
{
    QFETCH(QByteArray, value);
    QFETCH(QByteArrayList, words);
    const PppdWords read = splitPppdWords(value + "\nnext\n");
    const bool reachesNext = words.value(0).contains("next");
    QCOMPARE(read.words, reachesNext ? words : words + QByteArrayList{"next"});
    QCOMPARE(read.hasOpenQuote, value == "a\"b");
    QCOMPARE(isOnePppdWord(value), value.isEmpty() || (words.size() == 1 && !reachesNext));
}

QTEST_GUILESS_MAIN(PppdWordsTest)
#include "tst_pppdwords.moc"
