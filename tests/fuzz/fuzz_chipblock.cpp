// Any bytes as the chip's memory, short transfers included: every parameter can be asked for.
#include "tests/fuzz/fuzz.h"
#include "device/fm25v02.h"
#include "device/fram.h"

#include <QCoreApplication>
#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <linux/spi/spidev.h>
#include <sys/stat.h>

namespace
{

QByteArray memory; // what the chip sends, as far as it goes

/** The chip's part of one message. @return bytes moved, or -1 when the chip has nothing to say */
int transfer(const spi_ioc_transfer *records, int count)
{
    if (memory.isEmpty())
        return -1;
    int moved = 0;
    for (int at = 0; at < count; ++at) {
        if (records[at].rx_buf == 0)
            continue;
        const auto length = std::min<qsizetype>(records[at].len, memory.size());
        std::memcpy(reinterpret_cast<void *>(records[at].rx_buf), memory.constData(), length);
        moved += static_cast<int>(length);
    }
    return moved;
}

} // namespace

// The linker gives these the driver's calls.
extern "C" int __wrap_stat64(const char *, struct stat *)
{
    return 0; // the marker file is there
}

extern "C" int __wrap_ioctl(int, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    const auto *records = va_arg(arguments, const spi_ioc_transfer *);
    va_end(arguments);
    return transfer(records, request == SPI_IOC_MESSAGE(1) ? 1 : 2);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static Fram *const fram = Fram::getInstance();
    memory = bytesOf(data, size);
    require(fram->load_param(), "the block is loaded");
    require(fram->get_param_buffer()->size() == 200, "the block has 200 bytes");
    for (int index = 0; index < 100; ++index)
        require(fram->getparam(index) == fram->get_param_buffer()->mid(qsizetype(2) * index, 2),
                "a parameter has its two bytes");
    for (const int index : {-1, 100, 1 << 30, -(1 << 30)})
        require(fram->getparam(index).isEmpty(), "there is no such parameter");
    const QByteArray language = fram->getparam(10);
    require(fram->getLanguageID() == (uchar(language[0]) | uchar(language[1]) << 8),
            "the language is of two bytes");
    return 0;
}
