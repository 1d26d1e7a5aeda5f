// RSSI values of complete, truncated and unexpected responses to AT+CSQ.
#include "core/csqresponse.h"

#include <QtTest>

class CsqResponseTest : public QObject
{
    Q_OBJECT

private slots:
    void parses_data();
    void parses();
};

void CsqResponseTest::parses_data()
{
    QTest::addColumn<QByteArray>("chunk");
    QTest::addColumn<bool>("noSignal");
    QTest::addColumn<int>("percent");

    QTest::newRow("17, truncated") << QByteArray("\r\n+CSQ: 17,99\r\n\r\nOK\r\n") << false << 54;
    QTest::newRow("top of the scale") << QByteArray("\r\n+CSQ: 31,0\r\n") << false << 100;
    QTest::newRow("zero") << QByteArray("\r\n+CSQ: 00,0\r\n") << false << 0;
    QTest::newRow("unknown") << QByteArray("\r\n+CSQ: 99,99\r\n") << true << 0;
    QTest::newRow("99 as error rate only") << QByteArray("\r\n+CSQ: 5,99\r\n") << false << 0;
    QTest::newRow("echoed command") << QByteArray("AAT+CSQ\r\r\n+CSQ: 17,99\r\n") << false << 0;
    QTest::newRow("error") << QByteArray("\r\nERROR\r\n") << false << 0;
    QTest::newRow("cut within the RSSI") << QByteArray("\r\n+CSQ: 1") << false << 3;
    QTest::newRow("not ASCII") << QByteArray("\r\n+CSQ: \xB9\xFF\0,", 12) << false << 0;
}

void CsqResponseTest::parses()
{
    QFETCH(QByteArray, chunk);
    const CsqResponse whole = parseCsqResponse(chunk);
    QTEST(whole.noSignal, "noSignal");
    QTEST(whole.percent, "percent");
    for (int length = 0; length <= chunk.size(); ++length) { // a read may end after any byte
        const CsqResponse part = parseCsqResponse(chunk.left(length));
        QCOMPARE(part.text, QString::fromLatin1(chunk.left(length)));
        QVERIFY(part.percent >= 0 && part.percent <= 100);
        QVERIFY(!part.noSignal || whole.noSignal);
    }
}

QTEST_GUILESS_MAIN(CsqResponseTest)
#include "tst_csqresponse.moc"
