#include "device/fm25v02.h"

#include "core/boardpaths.h"

#include <QByteArray>
#include <QDebug>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <linux/spi/spidev.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace
{

enum Opcode : uint8_t {
    WRSR = 0x01,
    WRITE = 0x02,
    READ = 0x03,
    WRDI = 0x04,
    RDSR = 0x05,
    WREN = 0x06,
    RDID = 0x9F,
    SLEEP = 0xB9,
};

constexpr unsigned IdentificationLength = 9;
constexpr unsigned AddressedHeaderLength = 3;

int spi_fb = 0;
uint8_t mode = 0;
uint8_t bits = 8;
uint32_t speed = 20000000;
spi_ioc_transfer xfer[2];

uint64_t pointer(const void *buffer)
{
    return reinterpret_cast<uintptr_t>(buffer);
}

/** Send bytes in one chip-select cycle. */
int send(const uint8_t *bytes, unsigned int count)
{
    std::memset(xfer, 0, sizeof xfer);
    xfer[0].tx_buf = pointer(bytes);
    xfer[0].len = count;
    return ::ioctl(spi_fb, SPI_IOC_MESSAGE(1), xfer);
}

/** Send bytes, then receive n bytes, in one chip-select cycle. */
int sendThenReceive(const uint8_t *bytes, unsigned int count, void *received, unsigned int n)
{
    std::memset(xfer, 0, sizeof xfer);
    xfer[0].tx_buf = pointer(bytes);
    xfer[0].len = count;
    xfer[1].rx_buf = pointer(received);
    xfer[1].len = n;
    return ::ioctl(spi_fb, SPI_IOC_MESSAGE(2), xfer);
}

int sendOpcode(uint8_t opcode)
{
    return send(&opcode, 1);
}

uint8_t addressHigh(unsigned int addr)
{
    return (addr >> 8) & 0x7F;
}

uint8_t addressLow(unsigned int addr)
{
    return addr & 0xFF;
}

/** Query or set a setting. On failure, print a message without a newline and continue. */
void query(unsigned long request, void *value, const char *failure)
{
    if (::ioctl(spi_fb, request, value) == -1)
        std::fputs(failure, stdout);
}

} // namespace

int FM25V02_Init()
{
    spi_fb = ::open(boardpaths::ChipDevice, O_RDWR | O_CLOEXEC);
    if (spi_fb == -1) {
        std::puts("Can't open SPI device ,load parameter by default!");
        return 0;
    }
    query(SPI_IOC_RD_MODE, &mode, "can't get spi mode");
    query(SPI_IOC_WR_MODE, &mode, "can't set spi mode");
    query(SPI_IOC_RD_BITS_PER_WORD, &bits, "can't get bits per word");
    query(SPI_IOC_RD_MAX_SPEED_HZ, &speed, "can't get max speed hz");
    std::printf("Fram speed: %d Hz (%d KHz)\n", speed, speed / 1000);
    std::memset(xfer, 0, sizeof xfer);
    return 1;
}

void FM25V02_RDID()
{
    const uint8_t opcode = RDID;
    QByteArray identification(IdentificationLength, '\0');
    sendThenReceive(&opcode, 1, identification.data(), IdentificationLength);
    qDebug() << "RDID:" << identification.toHex();
}

int FM25V02_READ(unsigned int addr, char *buf, unsigned int n)
{
    const uint8_t header[AddressedHeaderLength] = {READ, addressHigh(addr), addressLow(addr)};
    return sendThenReceive(header, sizeof header, buf, n);
}

int FM25V02_WRITE(unsigned int addr, char *data, unsigned int n)
{
    std::vector<uint8_t> frame{WRITE, addressHigh(addr), addressLow(addr)};
    frame.insert(frame.end(), data, data + n);
    FM25V02_WREN();
    send(frame.data(), static_cast<unsigned int>(frame.size()));
    return FM25V02_WRDI();
}

int FM25V02_WREN()
{
    return sendOpcode(WREN);
}

int FM25V02_WRDI()
{
    return sendOpcode(WRDI);
}

int FM25V02_WRSR(char value)
{
    const uint8_t frame[] = {WRSR, static_cast<uint8_t>(value)};
    FM25V02_WREN();
    std::puts("FM25V02_WRSR()");
    send(frame, sizeof frame);
    std::printf("send:%.2X ,%.2X\n", frame[0], frame[1]);
    return FM25V02_WRDI();
}

char FM25V02_RDSR()
{
    const uint8_t opcode = RDSR;
    uint8_t status = 0;
    std::puts("FM25V02_RDSR()");
    sendThenReceive(&opcode, 1, &status, 1);
    std::printf("send:%.2X\n", opcode);
    std::printf("receive:%.2X\n", status);
    return static_cast<char>(status);
}

void FM25V02_PWDN()
{
    std::puts("FM25V02_PWDN()");
    sendOpcode(SLEEP);
}

void FM25V02_Exit()
{
    FM25V02_PWDN();
    std::fputs("FM25V02_Exit()!", stdout);
    if (spi_fb >= 0)
        ::close(spi_fb);
    spi_fb = -1; // Another file may get the same descriptor number.
}

int MSPISendData(char byte)
{
    return sendOpcode(static_cast<uint8_t>(byte));
}
