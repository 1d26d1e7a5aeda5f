// The chip's model against its data sheet, one chip-select cycle after another. Identification, a
// plain write and the whole protection are what the board's test of the driver asks for.
#include "simulator/programs/chip/fm25v02chip.h"

#include <QtTest>

class Fm25v02ChipTest : public QObject
{
    Q_OBJECT

private slots:
    void cycles_data();
    void cycles();
};

void Fm25v02ChipTest::cycles_data()
{
    // Cycles of a chip with zeros in it: what is clocked out and, after a blank, what must come in
    // meanwhile; without it anything may.
    QTest::addColumn<QByteArrayList>("cycles");
    const auto row = [](const char *name, const QByteArrayList &cycles) {
        QTest::newRow(name) << cycles;
    };

    row("nothing behind the identification", {"9f00000000000000000000 ff7f7f7f7f7f7fc22208ff"});
    row("status at power-up, as often as asked", {"05000000 ff404040"});
    row("unknown opcode", {"ab0000 ffffff", "0500 ff40"});

    row("fast read has a dummy byte", {"06", "0212341122", "0b1234aa0000 ffffffff1122"});
    row("write without the latch", {"0212341122", "0312340000 ffffff0000"});
    row("write resets the latch", {"06", "021234", "0500 ff40", "02123411", "03123400 ffffff00"});
    row("write disable", {"06", "04", "0500 ff40", "02123411", "03123400 ffffff00"});
    row("read keeps the latch", {"06", "03123400", "0500 ff42"});
    row("write wraps", {"06", "027ffe112233", "037fff0000 ffffff2233", "03000000 ffffff33"});
    row("address bit 15 is not there", {"06", "02923411", "03123400 ffffff11"});

    row("status without the latch", {"018c", "0500 ff40"});
    row("status bits that can be written", {"06", "01ff", "0500 ffcc"});
    row("status takes one byte and resets the latch", {"06", "018000", "0100", "0500 ffc0"});

    row("upper quarter protected", {"06", "0104", "06", "025fff1122", "035fff0000 ffffff1100"});
    row("upper half protected", {"06", "0108", "06", "023fff1122", "033fff0000 ffffff1100"});
    row("a write runs through the protected half into the open one",
        {"06", "0108", "06", "027fff1122", "037fff0000 ffffff0022"});

    row("asleep: one cycle is lost and wakes", {"b9", "06", "0500 ff40"});
    row("an empty cycle wakes and does nothing else", {"b9", " ", " ", "0500 ff40"});
    row("memory and latch outlast sleep",
        {"06", "02000011", "06", "b9", "00", "0500 ff42", "03000000 ffffff11"});
    row("sleep needs chip select to rise", {"b90500 ffffff", "00", "0500 ff40"});
}

void Fm25v02ChipTest::cycles()
{
    QFETCH(QByteArrayList, cycles);
    chip::Fm25v02Chip chip;
    for (const QByteArray &line : cycles) {
        const QByteArrayList sides = line.split(' ');
        QByteArray miso;
        chip.select();
        for (const char byte : QByteArray::fromHex(sides[0]))
            miso.append(static_cast<char>(chip.exchange(static_cast<uint8_t>(byte))));
        chip.deselect();
        if (sides.size() > 1)
            QCOMPARE(miso.toHex(), sides[1]);
    }
}

QTEST_GUILESS_MAIN(Fm25v02ChipTest)
#include "tst_fm25v02chip.moc"
