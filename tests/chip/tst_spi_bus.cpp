// Messages as spidev takes them: the cycles that they become, their results, and what goes wrong.
#include "spi_bus.h"

#include <QtTest>
#include <cerrno>

using chip::Fault;
using chip::Fm25v02Chip;
using chip::SpiBus;

namespace
{

struct Transfer {
    QByteArray sent; ///< in hex; empty for one that does not send
    uint32_t received = 0;
    bool csChange = false;
};

using Message = QList<Transfer>;

const QByteArray ReadBlock = "030004";

} // namespace

class TestSpiBus : public QObject
{
    Q_OBJECT

private slots:
    void messages_data();
    void messages();
    void selectedBeyondTheMessage();
    void faults_data();
    void faults();
    void refusals_data();
    void refusals();

private:
    SpiBus::Reply send(SpiBus &bus, const Message &message);

    Fm25v02Chip m_chip;
    QStringList m_log;
};

SpiBus::Reply TestSpiBus::send(SpiBus &bus, const Message &message)
{
    std::vector<spi_ioc_transfer> transfers;
    QByteArray sent;
    for (const Transfer &wanted : message) {
        const QByteArray bytes = QByteArray::fromHex(wanted.sent);
        spi_ioc_transfer transfer = {};
        transfer.tx_buf = bytes.isEmpty() ? 0 : 1;
        transfer.rx_buf = wanted.received == 0 ? 0 : 1;
        transfer.len = bytes.isEmpty() ? wanted.received : static_cast<uint32_t>(bytes.size());
        transfer.cs_change = wanted.csChange;
        transfers.push_back(transfer);
        sent += bytes;
    }
    return bus.message(transfers, reinterpret_cast<const uint8_t *>(sent.constData()));
}

void TestSpiBus::messages_data()
{
    QTest::addColumn<Message>("message");
    QTest::addColumn<int>("result");
    QTest::addColumn<QByteArray>("received");
    QTest::addColumn<QStringList>("log");
    const auto row = [](const char *name, const Message &message, int result,
                        const QByteArray &received, const QStringList &log) {
        QTest::newRow(name) << message << result << received << log;
    };

    row("one record", {{"06"}}, 1, "", {"cycle 06"});
    row("two records are one cycle", {{"030004"}, {"", 3}}, 6, "010203",
        {"cycle 030004 r3 010203"});
    row("both ways", {{"9f0000", 3}}, 3, "ff7f7f", {"cycle 9f0000 x3 ff7f7f"});
    row("only receiving clocks zeros out", {{"", 2, true}, {"05"}, {"", 1}}, 4, "ffff40",
        {"cycle r2 ffff", "cycle 05 r1 40"});
    row("two sending records", {{"0300"}, {"04"}, {"", 1}}, 4, "01", {"cycle 0300 04 r1 01"});
    row("two receiving records", {{"030004"}, {"", 1}, {"", 2}}, 6, "010203",
        {"cycle 030004 r1 r2 010203"});
    row("chip select changes between records", {{"06", 0, true}, {"05"}, {"", 1}}, 3, "42",
        {"cycle 06", "cycle 05 r1 42"});
}

void TestSpiBus::messages()
{
    QFETCH(Message, message);
    m_chip = Fm25v02Chip();
    for (uint8_t i = 1; i < 4; ++i)
        m_chip.memory()[3 + i] = i;
    m_log.clear();
    SpiBus bus(m_chip,
               [this](const std::string &entry) { m_log << QString::fromStdString(entry); });
    const SpiBus::Reply reply = send(bus, message);
    QTEST(reply.result, "result");
    QTEST(QByteArray(reinterpret_cast<const char *>(reply.received.data()),
                     static_cast<int>(reply.received.size()))
              .toHex(),
          "received");
    QTEST(m_log, "log");
}

void TestSpiBus::selectedBeyondTheMessage()
{
    m_chip = Fm25v02Chip();
    m_log.clear();
    SpiBus bus(m_chip,
               [this](const std::string &entry) { m_log << QString::fromStdString(entry); });
    QCOMPARE(send(bus, {{"9f", 0, true}}).result, 1);
    QCOMPARE(m_log, QStringList());
    send(bus, {{"", 2}});
    QCOMPARE(m_log, QStringList("cycle 9f r2 7f7f"));
}

void TestSpiBus::faults_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<int>("result");
    QTest::addColumn<QByteArray>("received");
    QTest::addColumn<QString>("log");

    const QByteArray block(200, '\x5A');
    const QString cycle = "cycle 030004 r200 ";
    const auto row = [&](const char *name, Fault fault, int result, const QByteArray &received,
                         const QString &log) {
        QTest::newRow(name) << fault << result << received << log;
    };
    row("none", Fault::None, 203, block, cycle + block.toHex());
    row("transfers", Fault::Transfers, -EIO, "", "message failed");
    row("short", Fault::Short, 19, block.left(16), cycle + block.toHex());
    row("zeros", Fault::Zeros, 203, QByteArray(200, '\0'), cycle + QString(400, '0'));
    row("ones", Fault::Ones, 203, QByteArray(200, '\xFF'), cycle + QString(400, 'f'));
}

void TestSpiBus::faults()
{
    QFETCH(Fault, fault);
    m_chip = Fm25v02Chip();
    std::fill(m_chip.memory().begin(), m_chip.memory().end(), 0x5A);
    m_log.clear();
    SpiBus bus(m_chip,
               [this](const std::string &entry) { m_log << QString::fromStdString(entry); });
    bus.setFault(fault);
    const SpiBus::Reply reply = send(bus, {{ReadBlock}, {"", 200}});
    QTEST(reply.result, "result");
    QTEST(QByteArray(reinterpret_cast<const char *>(reply.received.data()),
                     static_cast<int>(reply.received.size())),
          "received");
    QCOMPARE(m_log.size(), 1);
    QTEST(m_log[0], "log");
}

void TestSpiBus::refusals_data()
{
    using Lengths = QList<QPair<uint32_t, uint32_t>>; // sent and received
    QTest::addColumn<Lengths>("lengths");
    QTest::addColumn<int>("error");

    QTest::newRow("nothing") << Lengths{} << 0;
    QTest::newRow("longest read") << Lengths{{3, 0}, {0, 4096}} << 0;
    QTest::newRow("read too long") << Lengths{{3, 0}, {0, 4097}} << EMSGSIZE;
    QTest::newRow("longest write") << Lengths{{4096, 0}} << 0;
    QTest::newRow("write too long") << Lengths{{4097, 0}} << EMSGSIZE;
    QTest::newRow("sum of writes") << Lengths{{4000, 0}, {97, 0}} << EMSGSIZE;
    QTest::newRow("sum of reads") << Lengths{{0, 97}, {0, 4000}} << EMSGSIZE;
    QTest::newRow("sum that overflows") << Lengths{{0xFFFFFFFF, 0}, {2, 0}} << EMSGSIZE;
}

void TestSpiBus::refusals()
{
    using Lengths = QList<QPair<uint32_t, uint32_t>>;
    QFETCH(Lengths, lengths);
    std::vector<spi_ioc_transfer> transfers;
    for (const auto &[sent, received] : lengths) {
        spi_ioc_transfer transfer = {};
        transfer.tx_buf = sent;
        transfer.rx_buf = received;
        transfer.len = std::max(sent, received);
        transfers.push_back(transfer);
    }
    QTEST(SpiBus::refusal(transfers), "error");
}

QTEST_GUILESS_MAIN(TestSpiBus)
#include "tst_spi_bus.moc"
