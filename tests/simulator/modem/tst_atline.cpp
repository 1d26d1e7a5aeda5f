// Assembly of command lines out of single bytes, and their detection in the middle of a call.
#include "simulator/programs/modem/atline.h"
#include "simulator/programs/modem/redial.h"

#include <QtTest>

class AtLineTest : public QObject
{
    Q_OBJECT

private slots:
    void lines_data();
    void lines();
    void redial_data();
    void redial();
};

void AtLineTest::lines_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("lines");
    const auto row = [](const char *name, const QByteArray &bytes, const QStringList &lines) {
        QTest::newRow(name) << bytes << lines;
    };
    row("unfinished", "ATZ", {});
    row("bare carriage return", "\r", {""});
    row("line feed is no end", "AT\nZ\r\nATI\r", {"ATZ", "ATI"});
    row("NUL is dropped", QByteArray("A\0TZ\r", 5), {"ATZ"});
    row("backspace", "\b\bATX\bZ\r", {"ATZ"});
    row("high bytes stay", "AT\xe9\r", {"AT\u00e9"});
    row("repeat needs no end", "xxA/a/", {"A/", "A/"});
    row("a slash in a command", "AT+CPIN=\"A/\"\r", {"AT+CPIN=\"A/\""});
    const int limit = modem::LineAssembler::MaxLength;
    row("longest line", QByteArray(limit, 'x') + '\r', {QString(limit, 'x')});
    row("longer line is dropped", QByteArray(limit, 'x') + "ATZ\rATI\r", {"", "ATI"});
}

void AtLineTest::lines()
{
    QFETCH(QByteArray, bytes);
    modem::LineAssembler assembler;
    QStringList lines;
    for (const char byte : bytes) {
        if (const auto line = assembler.feed(byte))
            lines << QString::fromLatin1(line->data(), static_cast<int>(line->size()));
    }
    QTEST(lines, "lines");
}

void AtLineTest::redial_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("command"); // empty: the call goes on
    const QByteArray frame("\x7e\xff\x03\xc0\x21\x01\x01\x7e", 8);
    const QByteArray script("\rAT+CPIN=\"1\"\r");
    QTest::newRow("frames") << frame + frame << QByteArray();
    QTest::newRow("script at the start") << script << script;
    QTest::newRow("script after frames") << frame + script << script;
    QTest::newRow("signal query") << frame + "AAT+CSQ\r" << QByteArray();
    QTest::newRow("only a carriage return") << frame + "\r" << QByteArray();
    QTest::newRow("inside a frame") << QByteArray("\x7e!E\rATZ\r\x7e") << QByteArray();
    QTest::newRow("after a broken start") << frame + "AxAT\r" << QByteArray();
}

void AtLineTest::redial()
{
    QFETCH(QByteArray, bytes);
    for (const int length : {1, 3, 100}) {
        modem::RedialDetector detector;
        QByteArray command;
        for (int at = 0; at < bytes.size() && command.isEmpty(); at += length) {
            if (const auto start = detector.feed(bytes.mid(at, length).toStdString()))
                command = QByteArray::fromStdString(*start) + bytes.mid(at + length);
        }
        QTEST(command, "command");
    }
}

QTEST_APPLESS_MAIN(AtLineTest)
#include "tst_atline.moc"
