// Assembly of command lines out of single bytes.
#include "at_line.h"
#include "redial.h"

#include <QtTest>

class TestAtLine : public QObject
{
    Q_OBJECT

private slots:
    void lines_data();
    void lines();
    void longLineIsDropped();
    void otherControls();
    void resetForgets();
    void redial_data();
    void redial();
};

namespace
{

QStringList feed(modem::LineAssembler &assembler, const QByteArray &bytes)
{
    QStringList lines;
    for (const char byte : bytes) {
        if (const auto line = assembler.feed(byte))
            lines << QString::fromLatin1(line->data(), static_cast<int>(line->size()));
    }
    return lines;
}

} // namespace

void TestAtLine::lines_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("one line") << QByteArray("ATZ\r") << QStringList{"ATZ"};
    QTest::newRow("unfinished") << QByteArray("ATZ") << QStringList{};
    QTest::newRow("bare carriage return") << QByteArray("\r") << QStringList{""};
    QTest::newRow("line feed is no end")
        << QByteArray("AT\nZ\r\nATI\r") << QStringList{"ATZ", "ATI"};
    QTest::newRow("a leading byte") << QByteArray("AAT+CSQ\r") << QStringList{"AAT+CSQ"};
    QTest::newRow("NUL is dropped") << QByteArray("A\0TZ\r", 5) << QStringList{"ATZ"};
    QTest::newRow("backspace") << QByteArray("ATX\bZ\r") << QStringList{"ATZ"};
    QTest::newRow("backspace at the start") << QByteArray("\b\bATZ\r") << QStringList{"ATZ"};
    QTest::newRow("high bytes stay") << QByteArray("AT\xe9\r") << QStringList{QString("AT\u00e9")};
    QTest::newRow("repeat needs no end") << QByteArray("A/a/") << QStringList{"A/", "A/"};
    QTest::newRow("repeat after noise") << QByteArray("xxA/") << QStringList{"A/"};
    QTest::newRow("a slash in a command")
        << QByteArray("AT+CPIN=\"A/\"\r") << QStringList{"AT+CPIN=\"A/\""};
}

void TestAtLine::lines()
{
    QFETCH(QByteArray, bytes);
    modem::LineAssembler assembler;
    QTEST(feed(assembler, bytes), "lines");
}

void TestAtLine::longLineIsDropped()
{
    modem::LineAssembler assembler;
    const int limit = modem::LineAssembler::MaxLength;
    QCOMPARE(feed(assembler, QByteArray(limit, 'x') + '\r').value(0).size(), limit);
    QCOMPARE(feed(assembler, QByteArray(limit, 'x') + "ATZ\rATI\r"), (QStringList{"", "ATI"}));
}

void TestAtLine::otherControls()
{
    modem::LineAssembler assembler;
    assembler.setControls('!', '#');
    QCOMPARE(feed(assembler, "ATX#Z\b\r!"), QStringList{"ATZ\b\r"});
}

void TestAtLine::resetForgets()
{
    modem::LineAssembler assembler;
    QCOMPARE(feed(assembler, "AT+COPS"), QStringList{});
    assembler.reset();
    QCOMPARE(feed(assembler, "ATZ\r"), QStringList{"ATZ"});
}

void TestAtLine::redial_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("command"); // empty: the call goes on
    const QByteArray frame("\x7e\xff\x03\xc0\x21\x01\x01\x7e", 8);
    QTest::newRow("frames") << frame + frame << QByteArray();
    QTest::newRow("script at the start") << QByteArray("\rATZ\r") << QByteArray("\rATZ\r");
    QTest::newRow("script after frames")
        << frame + "\rAT+CPIN=\"1\"\r" << QByteArray("\rAT+CPIN=\"1\"\r");
    QTest::newRow("query without carriage return") << frame + "AAT+CSQ\r" << QByteArray();
    QTest::newRow("small letters") << frame + "at\r" << QByteArray("at\r");
    QTest::newRow("only a carriage return") << frame + "\r" << QByteArray();
    QTest::newRow("inside a frame") << QByteArray("\x7e!E\rATZ\r\x7e") << QByteArray();
    QTest::newRow("after a broken start") << frame + "AxAT\r" << QByteArray();
}

void TestAtLine::redial()
{
    QFETCH(QByteArray, bytes);
    modem::RedialDetector whole;
    const auto found = whole.feed(bytes.toStdString());
    QTEST(QByteArray::fromStdString(found.value_or("")), "command");

    modem::RedialDetector piecewise;
    std::string text;
    bool noticed = false;
    for (const char byte : bytes) {
        const std::string piece(1, byte);
        if (noticed) {
            text += piece;
        } else if (const auto start = piecewise.feed(piece)) {
            noticed = true;
            text = *start;
        }
    }
    QTEST(QByteArray::fromStdString(text), "command");
}

QTEST_APPLESS_MAIN(TestAtLine)
#include "tst_at_line.moc"
