// The chip's model against its data sheet, one chip-select cycle after another.
#include "fm25v02_chip.h"

#include <QtTest>

using chip::Fm25v02Chip;

class TestFm25v02Chip : public QObject
{
    Q_OBJECT

private slots:
    void cycles_data();
    void cycles();
    void writeProtectPin();
    void supplyGoes();
    void cutShort();

private:
    /** @param mosi in hex. @return what was clocked in, in hex */
    QByteArray cycle(const QByteArray &mosi);

    Fm25v02Chip m_chip;
};

QByteArray TestFm25v02Chip::cycle(const QByteArray &mosi)
{
    QByteArray miso;
    m_chip.select();
    for (const char byte : QByteArray::fromHex(mosi))
        miso.append(static_cast<char>(m_chip.exchange(static_cast<uint8_t>(byte))));
    m_chip.deselect();
    return miso.toHex();
}

void TestFm25v02Chip::cycles_data()
{
    // Cycles of a chip with zeros in it: what is clocked out and, after a blank, what must come in
    // meanwhile; without it anything may.
    QTest::addColumn<QByteArrayList>("cycles");
    const auto row = [](const char *name, const QByteArrayList &cycles) {
        QTest::newRow(name) << cycles;
    };

    row("identification", {"9f000000000000000000 ff7f7f7f7f7f7fc22208"});
    row("nothing behind the identification", {"9f00000000000000000000 ff7f7f7f7f7f7fc22208ff"});
    row("status at power-up, as often as asked", {"05000000 ff404040"});
    row("unknown opcode", {"ab0000 ffffff", "0500 ff40"});

    row("write and read back", {"06", "0212341122", "0312330000000000 ffffff0011220000"});
    row("fast read has a dummy byte", {"06", "0212341122", "0b1234aa0000 ffffffff1122"});
    row("write without the latch", {"0212341122", "0312340000 ffffff0000"});
    row("latch shows in the status", {"06", "0500 ff42"});
    row("write resets the latch", {"06", "021234", "0500 ff40", "02123411", "03123400 ffffff00"});
    row("write disable", {"06", "04", "0500 ff40", "02123411", "03123400 ffffff00"});
    row("read keeps the latch", {"06", "03123400", "0500 ff42"});
    row("address bit 15 is not there", {"06", "02923411", "03123400 ffffff11"});
    row("write wraps", {"06", "027ffe112233", "037fff0000 ffffff2233", "03000000 ffffff33"});
    row("read wraps", {"06", "02000044", "037fff0000 ffffff0044"});

    row("status without the latch", {"018c", "0500 ff40"});
    row("status bits that can be written", {"06", "01ff", "0500 ffcc"});
    row("status takes one byte", {"06", "018000", "0500 ffc0"});
    row("status write resets the latch", {"06", "0180", "0100", "0500 ffc0"});
    row("WPEN alone protects nothing while WP is high", {"06", "0180", "06", "0100", "0500 ff40"});

    row("upper quarter protected",
        {"06", "0104", "06", "025fff1122", "035fff0000 ffffff1100", "0500 ff44"});
    row("upper half protected", {"06", "0108", "06", "023fff1122", "033fff0000 ffffff1100"});
    row("all protected", {"06", "010c", "06", "02000011", "03000000 ffffff00"});
    row("a write runs through the protected half into the open one",
        {"06", "0108", "06", "027fff1122", "037fff0000 ffffff0022"});

    row("asleep: one cycle is lost and wakes",
        {"b9", "9f0000 ffffff", "9f0000 ff7f7f", "9f0000 ff7f7f"});
    row("the lost cycle changes nothing", {"b9", "06", "0500 ff40"});
    row("an empty cycle wakes and does nothing else", {"b9", " ", " ", "0500 ff40"});
    row("memory and latch outlast sleep",
        {"06", "02000011", "06", "b9", "00", "0500 ff42", "03000000 ffffff11"});
    row("sleep needs chip select to rise", {"b90500 ffffff", "00", "0500 ff40"});
}

void TestFm25v02Chip::cycles()
{
    QFETCH(QByteArrayList, cycles);
    m_chip = Fm25v02Chip();
    for (const QByteArray &line : cycles) {
        const QByteArrayList sides = line.split(' ');
        const QByteArray miso = cycle(sides[0]);
        if (sides.size() > 1)
            QCOMPARE(miso, sides[1]);
    }
}

void TestFm25v02Chip::writeProtectPin()
{
    m_chip = Fm25v02Chip();
    m_chip.setWriteProtectPin(false);
    cycle("06");
    cycle("0184");
    QCOMPARE(cycle("0500"), QByteArray("ffc4")); // it protects nothing before WPEN is set
    cycle("06");
    cycle("0100");
    QCOMPARE(cycle("0500"), QByteArray("ffc4"));
    m_chip.setWriteProtectPin(true);
    cycle("06");
    cycle("0100");
    QCOMPARE(cycle("0500"), QByteArray("ff40"));
}

void TestFm25v02Chip::supplyGoes()
{
    m_chip = Fm25v02Chip();
    for (const char *mosi : {"06", "02000011", "06", "0188", "06", "b9"})
        cycle(mosi);
    m_chip.powerCycle();
    QCOMPARE(cycle("0500"), QByteArray("ffc8"));
    QCOMPARE(cycle("03000000"), QByteArray("ffffff11"));
}

void TestFm25v02Chip::cutShort()
{
    m_chip = Fm25v02Chip();
    cycle("06");
    m_chip.select();
    for (const uint8_t byte : {0x02, 0x00, 0x00, 0x11, 0x22})
        m_chip.exchange(byte);
    m_chip.powerCycle(); // in the middle of a write
    m_chip.deselect();
    QCOMPARE(cycle("030000000000"), QByteArray("ffffff112200"));
    QCOMPARE(m_chip.exchange(0), Fm25v02Chip::Floating); // not selected: reads no further
}

QTEST_GUILESS_MAIN(TestFm25v02Chip)
#include "tst_fm25v02_chip.moc"
