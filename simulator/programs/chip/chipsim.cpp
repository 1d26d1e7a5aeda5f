// chipsim LOG FAULT [N=V]...: simulates the FM25V02 F-RAM chip at /dev/spidev1.0, by CUSE,
// with the two commands that the program sends: read identification and read memory.
//
// Parameter N of the block at address 4 is V, all others are 0. FAULT is one of:
// - none;
// - queries: ioctls for a setting fail.
//
// LOG records opens, settings and chip-select cycles. A cycle has the sent bytes, the number of
// received bytes and these bytes:
//
//     RD_MAX_SPEED_HZ 10000000
//     cycle 9f r9 7f7f7f7f7f7fc22208
#define FUSE_USE_VERSION 31
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cuse_lowlevel.h>
#include <linux/spi/spidev.h>
#include <string>
#include <sys/ioctl.h>
#include <vector>

namespace
{

using Bytes = std::vector<uint8_t>;

constexpr uint8_t ReadIdentification = 0x9f; // opcode; the only other one is that of a read
constexpr unsigned BlockAddress = 4;

std::string hex(const Bytes &bytes)
{
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

/** An ioctl(2) request, with the parts of the caller's memory that the kernel has fetched. */
struct Request {
    fuse_req_t id;
    unsigned command;
    void *argument;
    const uint8_t *in;
    std::size_t inSize;
    std::size_t outSize; ///< bytes of the caller's memory that the reply may fill

    /**
     * Check for parts of the caller's memory. If some are missing, ask the kernel to repeat the
     * request with them.
     * @return true when all parts are available
     */
    bool has(const std::vector<iovec> &fetched, const std::vector<iovec> &filled) const
    {
        if (size(fetched) <= inSize && size(filled) <= outSize)
            return true;
        fuse_reply_ioctl_retry(id, fetched.data(), fetched.size(), filled.data(), filled.size());
        return false;
    }

    static std::size_t size(const std::vector<iovec> &parts)
    {
        std::size_t sum = 0;
        for (const iovec &part : parts)
            sum += part.iov_len;
        return sum;
    }
};

iovec part(uint64_t address, std::size_t length)
{
    // spidev's structure contains pointers as numbers. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return {reinterpret_cast<void *>(static_cast<uintptr_t>(address)), length};
}

/** The chip, with the interface of the kernel's spidev driver. */
class Chip
{
public:
    Chip(const char *log, const char *fault) : m_log(std::fopen(log, "ae")), m_fault(fault) {}

    void setParameter(std::size_t number, unsigned long value)
    {
        m_memory[BlockAddress + 2 * number] = value & 0xff;
        m_memory[BlockAddress + 2 * number + 1] = (value >> 8) & 0xff;
    }

    void open(fuse_req_t id, fuse_file_info *file)
    {
        log("open");
        fuse_reply_open(id, file);
    }

    void control(const Request &request)
    {
        if (request.command == SPI_IOC_MESSAGE(2))
            cycle(request);
        else
            setting(request);
    }

private:
    void log(const std::string &text)
    {
        std::fprintf(m_log, "%s\n", text.c_str());
        std::fflush(m_log);
    }

    void setting(const Request &request)
    {
        static const struct {
            unsigned number;
            const char *name;
            std::size_t size;
            uint32_t value;
        } settings[] = {{_IOC_NR(SPI_IOC_RD_MODE), "MODE", 1, SPI_MODE_0},
                        {_IOC_NR(SPI_IOC_RD_BITS_PER_WORD), "BITS_PER_WORD", 1, 8},
                        {_IOC_NR(SPI_IOC_RD_MAX_SPEED_HZ), "MAX_SPEED_HZ", 4, 10000000}};
        for (const auto &found : settings) {
            if (found.number != _IOC_NR(request.command))
                continue;
            const bool writes = _IOC_DIR(request.command) == _IOC_WRITE;
            const std::string name = (writes ? "WR_" : "RD_") + std::string(found.name);
            if (m_fault == "queries") {
                log(name + " failed");
                break;
            }
            if (!writes && !request.has({}, {{request.argument, found.size}}))
                return;
            log(name + ' ' + std::to_string(found.value));
            fuse_reply_ioctl(request.id, 0, &found.value, writes ? 0 : found.size);
            return;
        }
        fuse_reply_err(request.id, EINVAL);
    }

    /** Serves a message of two transfers: the first one sends, the second one receives. */
    void cycle(const Request &request)
    {
        spi_ioc_transfer transfers[2];
        const iovec records{request.argument, sizeof transfers};
        if (!request.has({records}, {}))
            return;
        std::memcpy(transfers, request.in, sizeof transfers);
        const std::size_t count = transfers[1].len;
        if (!request.has({records, part(transfers[0].tx_buf, transfers[0].len)},
                         {part(transfers[1].rx_buf, count)}))
            return;
        const uint8_t *begin = request.in + sizeof transfers;
        const Bytes sent(begin, begin + transfers[0].len);
        const Bytes received = reply(sent, count);
        log("cycle " + hex(sent) + " r" + std::to_string(count) + ' ' + hex(received));
        fuse_reply_ioctl(request.id, static_cast<int>(sent.size() + count), received.data(), count);
    }

    Bytes reply(const Bytes &sent, std::size_t count) const
    {
        if (sent[0] == ReadIdentification)
            return {0x7f, 0x7f, 0x7f, 0x7f, 0x7f, 0x7f, 0xc2, 0x22, 0x08};
        const uint8_t *begin = m_memory + (sent[1] << 8 | sent[2]);
        return {begin, begin + count};
    }

    std::FILE *m_log;
    std::string m_fault;
    uint8_t m_memory[0x8000] = {};
};

Chip &chip(fuse_req_t id)
{
    return *static_cast<Chip *>(fuse_req_userdata(id));
}

void control(fuse_req_t id, int command, void *argument, fuse_file_info *, unsigned, const void *in,
             std::size_t inSize, std::size_t outSize)
{
    chip(id).control({id, static_cast<unsigned>(command), argument,
                      static_cast<const uint8_t *>(in), inSize, outSize});
}

} // namespace

int main(int argc, char **argv)
{
    Chip simulated(argv[1], argv[2]);
    for (int i = 3; i < argc; ++i) {
        char *value = nullptr;
        const auto number = std::strtoul(argv[i], &value, 10);
        simulated.setParameter(number, std::strtoul(value + 1, nullptr, 10));
    }
    cuse_lowlevel_ops operations{};
    operations.open = [](fuse_req_t id, fuse_file_info *file) { chip(id).open(id, file); };
    operations.ioctl = control;
    const char *names[] = {"DEVNAME=spidev1.0"};
    cuse_info info{};
    info.dev_info_argc = 1;
    info.dev_info_argv = names;
    info.flags = CUSE_UNRESTRICTED_IOCTL;
    std::string foreground = "-f";
    std::string oneAtATime = "-s";
    char *words[] = {argv[0], foreground.data(), oneAtATime.data(), nullptr};
    return cuse_lowlevel_main(3, words, &info, &operations, &simulated);
}
