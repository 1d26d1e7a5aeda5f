// Which messages the bus refuses as spidev does. What it makes of the others, and its faults, are
// in the board's test of the chip.
#include "simulator/programs/chip/spibus.h"

#include <QtTest>
#include <cerrno>

class SpiBusTest : public QObject
{
    Q_OBJECT

private slots:
    void refusals_data();
    void refusals();
};

using Lengths = QList<QPair<uint32_t, uint32_t>>; // sent and received, by transfer

void SpiBusTest::refusals_data()
{
    QTest::addColumn<Lengths>("lengths");
    QTest::addColumn<int>("error");
    QTest::newRow("longest read") << Lengths{{3, 0}, {0, 4096}} << 0;
    QTest::newRow("longest write") << Lengths{{4096, 0}} << 0;
    QTest::newRow("write too long") << Lengths{{4097, 0}} << EMSGSIZE;
    QTest::newRow("sum of writes") << Lengths{{4000, 0}, {97, 0}} << EMSGSIZE;
    QTest::newRow("sum of reads") << Lengths{{0, 97}, {0, 4000}} << EMSGSIZE;
    QTest::newRow("sum that overflows") << Lengths{{0xFFFFFFFF, 0}, {2, 0}} << EMSGSIZE;
}

void SpiBusTest::refusals()
{
    QFETCH(Lengths, lengths);
    std::vector<spi_ioc_transfer> transfers;
    for (const auto &[sent, received] : lengths) {
        spi_ioc_transfer transfer = {};
        transfer.tx_buf = sent;
        transfer.rx_buf = received;
        transfer.len = std::max(sent, received);
        transfers.push_back(transfer);
    }
    QTEST(chip::SpiBus::refusal(transfers), "error");
}

QTEST_GUILESS_MAIN(SpiBusTest)
#include "tst_spibus.moc"
