// The F-RAM driver and the parameter block, byte by byte, with a stand-in for the kernel's spidev.
#include "device/fm25v02.h"
#include "device/fram.h"

#include <QtTest>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <linux/spi/spidev.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

namespace
{

constexpr int ChipFd = 1000; // not a descriptor of this process

struct Bus {
    bool transfersFail = false;
    bool marker = true;
    int openFlags = 0;
    int writtenMode = -1;
    QByteArray memory{32768, '\0'};
    QStringList cycles; // one per chip select: MOSI in hex, then "r<bytes read>"
    bool onlyPlainFields = true;
} bus;

/** Answer one chip-select cycle. @return number of bytes transferred */
int transfer(const spi_ioc_transfer *records, size_t count)
{
    int total = 0;
    QByteArray sent;
    QString cycle;
    for (const spi_ioc_transfer *record = records; record < records + count; ++record) {
        spi_ioc_transfer plain{};
        plain.tx_buf = record->tx_buf;
        plain.rx_buf = record->rx_buf;
        plain.len = record->len;
        bus.onlyPlainFields = bus.onlyPlainFields && (plain.tx_buf == 0) != (plain.rx_buf == 0) &&
                              std::memcmp(&plain, record, sizeof plain) == 0;
        if (plain.tx_buf != 0) {
            sent.append(reinterpret_cast<const char *>(plain.tx_buf), int(plain.len));
            cycle += QString::fromLatin1(sent.toHex());
        } else if (plain.rx_buf != 0) {
            const int address = sent[0] == 0x03 ? (uchar(sent[1]) << 8) | uchar(sent[2]) : 0;
            const QByteArray bytes = bus.memory.mid(address, int(plain.len));
            std::memcpy(reinterpret_cast<char *>(plain.rx_buf), bytes.constData(), bytes.size());
            cycle += QStringLiteral(" r%1").arg(plain.len);
        }
        total += int(plain.len);
    }
    bus.cycles << cycle;
    return total;
}

} // namespace

// System calls of the driver, redirected by the linker's --wrap.
extern "C" int __wrap_open64(const char *path, int flags)
{
    bus.openFlags = flags;
    return qstrcmp(path, "/dev/spidev1.0") == 0 ? ChipFd : -1;
}

extern "C" int __wrap_stat64(const char *path, struct stat *)
{
    return bus.marker && qstrcmp(path, "/quenfold/configs/initedFram") == 0 ? 0 : -1;
}

extern "C" int __wrap_ioctl(int fd, unsigned long request, void *value)
{
    if (fd != ChipFd || bus.transfersFail)
        return -1;
    if (request == SPI_IOC_MESSAGE(1) || request == SPI_IOC_MESSAGE(2))
        return transfer(static_cast<spi_ioc_transfer *>(value),
                        _IOC_SIZE(request) / sizeof(spi_ioc_transfer));
    if (request == SPI_IOC_RD_MODE)
        *static_cast<uint8_t *>(value) = 3;
    if (request == SPI_IOC_WR_MODE)
        bus.writtenMode = *static_cast<uint8_t *>(value);
    return 0;
}

class Fm25v02Test : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void frames_data();
    void frames();
    void failedTransfersLeaveBuffersAlone();
    void blockFaults_data();
    void blockFaults();
    void parametersByIndex();
};

void Fm25v02Test::init()
{
    bus = Bus();
    QCOMPARE(FM25V02_Init(), 1);
    QCOMPARE(bus.openFlags, O_RDWR | O_CLOEXEC);
    QCOMPARE(bus.writtenMode, 3); // the driver writes the mode that it has read
    bus.cycles.clear();
}

using Call = std::function<int()>;

void Fm25v02Test::frames_data()
{
    QTest::addColumn<Call>("call");
    QTest::addColumn<QStringList>("cycles");
    QTest::addColumn<int>("result");

    static char buffer[300];
    static char data[] = "\x11\xEE";
    const auto row = [](const char *name, const QStringList &cycles, int result, const Call &call) {
        QTest::newRow(name) << call << cycles << result;
    };
    row("WREN", {"06"}, 1, [] { return FM25V02_WREN(); });
    row("WRDI", {"04"}, 1, [] { return FM25V02_WRDI(); });
    row("RDSR", {"05 r1"}, 0, [] { return FM25V02_RDSR(); });
    row("WRSR", {"06", "0180", "04"}, 1, [] { return FM25V02_WRSR(char(0x80)); });
    row("block", {"030004 r200"}, 203, [] { return FM25V02_READ(4, buffer, 200); });
    row("address bit 15", {"030004 r1"}, 4, [] { return FM25V02_READ(0x8004, buffer, 1); });
    row("high address bits", {"037fff r1"}, 4, [] { return FM25V02_READ(0xFFFFFFFF, buffer, 1); });
    row("WRITE", {"06", "02123411ee", "04"}, 1, [] { return FM25V02_WRITE(0x1234, data, 2); });
    row("WRITE masked", {"06", "02000011", "04"}, 1, [] { return FM25V02_WRITE(0x8000, data, 1); });
    row("RDID", {"9f r9"}, 0, [] { return FM25V02_RDID(), 0; });
    row("PWDN", {"b9"}, 0, [] { return FM25V02_PWDN(), 0; });
    row("single byte", {"ff"}, 1, [] { return MSPISendData(char(0xFF)); });
}

void Fm25v02Test::frames()
{
    QFETCH(Call, call);
    QTEST(call(), "result");
    QTEST(bus.cycles, "cycles");
    QVERIFY(bus.onlyPlainFields);
}

void Fm25v02Test::failedTransfersLeaveBuffersAlone()
{
    bus.transfersFail = true;
    char buffer[] = "kept";
    QCOMPARE(FM25V02_READ(4, buffer, 4), -1);
    QCOMPARE(buffer, "kept");
    QCOMPARE(FM25V02_WRDI(), -1);
}

using Fault = std::function<void()>;

void Fm25v02Test::blockFaults_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<QStringList>("cycles");
    QTest::addColumn<int>("language");

    const auto row = [](const char *name, const QStringList &cycles, int language,
                        const Fault &fault) { QTest::newRow(name) << fault << cycles << language; };
    const QStringList read{"030004 r200"};
    row("little-endian", read, 256, [] { bus.memory[0x19] = 1; });
    row("Traditional Chinese", read, 1, [] { bus.memory[0x18] = 1; });
    row("all FF", read, 65535, [] { bus.memory.fill('\xFF'); });
    row("short transfer", read, 1, [] { bus.memory[0x18] = 1, bus.memory.resize(0x19); });
    row("no marker", {}, 0, [] { bus.memory[0x18] = 1, bus.marker = false; });
    row("transfer fails", {}, 0, [] { bus.memory[0x18] = 1, bus.transfersFail = true; });
}

void Fm25v02Test::blockFaults()
{
    QFETCH(Fault, fault);
    Fram *fram = Fram::getInstance();
    bus.cycles.clear();
    fault();
    QVERIFY(fram->load_param());
    QTEST(bus.cycles, "cycles");
    QTEST(int(fram->getLanguageID()), "language");
    QCOMPARE(fram->get_param_buffer()->size(), 200);
}

void Fm25v02Test::parametersByIndex()
{
    Fram *fram = Fram::getInstance();
    for (int i = 0; i < 256; ++i)
        bus.memory[4 + i] = char(i);
    fram->load_param();
    QCOMPARE(fram->getparam(0), QByteArray("\x00\x01", 2));
    QCOMPARE(fram->getparam(99), QByteArray("\xC6\xC7", 2));
    for (int index : {100, -1, 0x40000000, INT_MIN, INT_MAX}) {
        QTest::ignoreMessage(QtDebugMsg, "address exceed");
        QCOMPARE(fram->getparam(index), QByteArray());
    }
}

QTEST_GUILESS_MAIN(Fm25v02Test)
#include "tst_fm25v02.moc"
