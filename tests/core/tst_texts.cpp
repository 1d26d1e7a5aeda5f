// Small decisions on values: signal figures and display profiles.
#include "core/csqresponse.h"
#include "core/displayprofile.h"

#include <QtTest>

class TextsTest : public QObject
{
    Q_OBJECT

private slots:
    void signalReplies_data();
    void signalReplies();
    void profiles_data();
    void profiles();
};

void TextsTest::signalReplies_data()
{
    QTest::addColumn<QByteArray>("chunk");
    QTest::addColumn<bool>("noSignal");
    QTest::addColumn<int>("percent");

    QTest::newRow("17") << QByteArray("\r\n+CSQ: 17,99\r\n\r\nOK\r\n") << false << 54;
    QTest::newRow("top of the scale") << QByteArray("\r\n+CSQ: 31,0\r\n") << false << 100;
    QTest::newRow("truncated, not rounded") << QByteArray("\r\n+CSQ: 10,0\r\n") << false << 32;
    QTest::newRow("zero") << QByteArray("\r\n+CSQ: 00,0\r\n") << false << 0;
    QTest::newRow("unknown") << QByteArray("\r\n+CSQ: 99,99\r\n") << true << 0;
    QTest::newRow("99 as error rate only") << QByteArray("\r\n+CSQ: 5,99\r\n") << false << 0;
    QTest::newRow("one digit") << QByteArray("\r\n+CSQ: 7,99\r\n") << false << 0;
    QTest::newRow("echoed command") << QByteArray("AAT+CSQ\r\r\n+CSQ: 17,99\r\n") << false << 0;
    QTest::newRow("error") << QByteArray("\r\nERROR\r\n") << false << 0;
    QTest::newRow("cut before the figure") << QByteArray("\r\n+CS") << false << 0;
    QTest::newRow("cut within the figure") << QByteArray("\r\n+CSQ: 1") << false << 3;
}

void TextsTest::signalReplies()
{
    QFETCH(QByteArray, chunk);
    const CsqResponse reply = parseCsqResponse(chunk);
    QCOMPARE(reply.text, QString::fromLatin1(chunk));
    QTEST(reply.noSignal, "noSignal");
    QTEST(reply.percent, "percent");
}

void TextsTest::profiles_data()
{
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<int>("model");
    QTest::addColumn<QRect>("busyBar");

    QTest::newRow("small") << QSize(480, 272) << 4 << QRect(120, 120, 240, 22);
    QTest::newRow("medium") << QSize(800, 480) << 7 << QRect(200, 200, 400, 40);
    QTest::newRow("large") << QSize(1280, 800) << 10 << QRect(320, 320, 640, 66);
    QTest::newRow("rotated") << QSize(272, 480) << 0 << QRect(68, 68, 136, 40);
    QTest::newRow("one height off") << QSize(800, 481) << 0 << QRect(200, 200, 400, 40);
    QTest::newRow("odd width") << QSize(1025, 600) << 0 << QRect(256, 256, 512, 50);
}

void TextsTest::profiles()
{
    QFETCH(QSize, screen);
    const int model = displayprofile::modelFor(screen);
    QTEST(model, "model");
    QTEST(displayprofile::busyBarGeometry(screen), "busyBar");
    const QString sheet = QStringLiteral(":/styles/profile%1.qss").arg(model);
    QCOMPARE(displayprofile::styleSheetPath(model), model == 0 ? QString() : sheet);
}

QTEST_GUILESS_MAIN(TextsTest)
#include "tst_texts.moc"
