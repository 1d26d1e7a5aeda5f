// Chat script and peer file where values could disturb their lines. The whole files are compared
// byte for byte by the tests of the whole program.
#include "core/chatscript.h"
#include "core/peerfile.h"

#include <QtTest>

class GeneratedFilesTest : public QObject
{
    Q_OBJECT

private slots:
    void chatValues_data();
    void chatValues();
    void peerValuesStandAsTheyAre();
};

void GeneratedFilesTest::chatValues_data()
{
    QTest::addColumn<QStringList>("params");
    QTest::addColumn<QStringList>("tail"); // everything after the eleven fixed lines

    const QStringList information{"'OK' 'ATI'", "'OK' 'AT+COPS?'"};
    QTest::newRow("blank PIN, blanks around values")
        << QStringList{" net ", "\t*99# ", "", "", " \v ", "0"}
        << (QStringList{"'' 'ATZ'"} + information +
            QStringList{"'OK' 'AT+CGDCONT=1,\"IP\",\"net\"'", "'OK' '\"ATD*99#\"'"});
    QTest::newRow("empty values, short list")
        << QStringList{}
        << (QStringList{"'' 'ATZ'"} + information +
            QStringList{"'OK' 'AT+CGDCONT=1,\"IP\",\"\"'", "'OK' '\"ATD\"'"});
    QTest::newRow("quotes and place markers unchanged")
        << QStringList{"a'b\"%1", "%2", "", "", "%1\\", "0"}
        << (QStringList{"'' 'AT+CPIN=\"%1\\\"'", "'ERROR-AT-OK' 'ATZ'"} + information +
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

QTEST_GUILESS_MAIN(GeneratedFilesTest)
#include "tst_generatedfiles.moc"
