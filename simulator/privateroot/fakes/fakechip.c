/* Stand-in for the F-RAM chip at its spidev node. A regular file in place of the device node is its
 * memory. Only the read command is supported. */
#include <linux/spi/spidev.h>
#include <stdarg.h>
#include <stdint.h>
#include <sys/syscall.h>
#include <unistd.h>

#define READ_OPCODE 0x03

/* Run a chip-select cycle of two transfers: opcode and address are sent, then bytes are received.
 * Return the number of bytes transferred, or -1 with errno. */
static int transfer(int fd, const struct spi_ioc_transfer *records)
{
    const uint8_t *sent = (const uint8_t *)(uintptr_t)records[0].tx_buf;
    void *received = (void *)(uintptr_t)records[1].rx_buf;
    if (sent[0] == READ_OPCODE &&
        pread(fd, received, records[1].len, (sent[1] & 0x7F) << 8 | sent[2]) == -1)
        return -1;
    return (int)(records[0].len + records[1].len);
}

int ioctl(int fd, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (request == SPI_IOC_MESSAGE(2))
        return transfer(fd, argument);
    if (_IOC_TYPE(request) == SPI_IOC_MAGIC)
        return 0;
    return (int)syscall(SYS_ioctl, fd, request, argument);
}
