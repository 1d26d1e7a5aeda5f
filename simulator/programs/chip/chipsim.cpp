// chipsim LOG FAULT DELAY_MS [N=V]...: simulates the FM25V02 F-RAM chip at /dev/spidev1.0, by CUSE.
//
// DELAY_MS is added to the duration of each message. Parameter N of the block at address 4 is V,
// all others are 0. FAULT is one of:
// - none;
// - queries: ioctls for a setting fail.
//
// LOG records opens, settings and chip-select cycles. A cycle has the sent bytes, the number of
// received bytes and these bytes:
//
//     1.234 RD_MAX_SPEED_HZ 10000000
//     1.235 cycle 9f r9 7f7f7f7f7f7fc22208
#define FUSE_USE_VERSION 31
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cuse_lowlevel.h>
#include <linux/spi/spidev.h>
#include <numeric>
#include <string>
#include <sys/ioctl.h>
#include <thread>
#include <vector>

namespace
{

using Bytes = std::vector<uint8_t>;
using Clock = std::chrono::steady_clock;

enum Opcode : uint8_t {
    Write = 0x02,
    Read = 0x03,
    WriteDisable = 0x04,
    ReadStatus = 0x05,
    WriteEnable = 0x06,
    ReadIdentification = 0x9f,
};

constexpr std::size_t MaxLength = 4096; // limit of the kernel's spidev driver
constexpr unsigned BlockAddress = 4;
constexpr uint8_t Floating = 0xff; // byte received while the chip does not drive the line

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

/** The chip: memory, write-enable latch and identification. */
class Chip
{
public:
    void setParameter(std::size_t number, unsigned long value)
    {
        m_memory[BlockAddress + 2 * number] = value & 0xff;
        m_memory[BlockAddress + 2 * number + 1] = (value >> 8) & 0xff;
    }

    /** Runs one chip-select cycle. @return the received bytes, as many as were sent */
    Bytes cycle(const Bytes &sent)
    {
        static const Bytes identification = {0x7f, 0x7f, 0x7f, 0x7f, 0x7f, 0x7f, 0xc2, 0x22, 0x08};
        Bytes received(sent.size(), Floating);
        const uint8_t opcode = sent.empty() ? 0 : sent[0];
        if (opcode == ReadIdentification)
            std::copy_n(identification.begin(), std::min(sent.size() - 1, identification.size()),
                        received.begin() + 1);
        else if (opcode == ReadStatus)
            std::fill(received.begin() + 1, received.end(), m_writeEnabled ? 0x42 : 0x40);
        for (std::size_t i = 3; i < sent.size(); ++i) {
            uint8_t &byte = m_memory[((sent[1] << 8 | sent[2]) + i - 3) % sizeof m_memory];
            if (opcode == Read)
                received[i] = byte;
            else if (opcode == Write && m_writeEnabled)
                byte = sent[i];
        }
        if (opcode == WriteEnable)
            m_writeEnabled = true;
        else if (opcode == WriteDisable || opcode == Write)
            m_writeEnabled = false;
        return received;
    }

private:
    uint8_t m_memory[0x8000] = {};
    bool m_writeEnabled = false;
};

/** An ioctl(2) request, with the parts of the caller's memory that the kernel has fetched. */
struct Request {
    fuse_req_t id;
    unsigned command;
    void *argument;
    const uint8_t *in;
    std::size_t inSize;
    std::size_t outSize; ///< bytes of the caller's memory that the reply may fill

    void fail(int error) const { fuse_reply_err(id, error); }

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
        return std::accumulate(
            parts.begin(), parts.end(), std::size_t(0),
            [](std::size_t sum, const iovec &part) { return sum + part.iov_len; });
    }
};

iovec part(uint64_t address, std::size_t length)
{
    // spidev's structure contains pointers as numbers. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return {reinterpret_cast<void *>(static_cast<uintptr_t>(address)), length};
}

/** The device, with the interface of the kernel's spidev driver. */
class Device
{
public:
    Device(const char *log, const char *fault, int delay)
        : m_log(std::fopen(log, "ae")), m_fault(fault), m_delay(delay)
    {
    }

    Chip &chip() { return m_chip; }

    void open(fuse_req_t id, fuse_file_info *file)
    {
        log("open");
        fuse_reply_open(id, file);
    }

    void close(fuse_req_t id)
    {
        log("close");
        fuse_reply_err(id, 0);
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
                return request.fail(EINVAL);
            }
            const std::vector<iovec> value{{request.argument, found.size}};
            if (!(writes ? request.has(value, {}) : request.has({}, value)))
                return;
            log(name + ' ' + std::to_string(found.value));
            fuse_reply_ioctl(request.id, 0, &found.value, writes ? 0 : found.size);
            return;
        }
        request.fail(ENOTTY);
    }

    void message(const Request &request)
    {
        const std::size_t size = _IOC_SIZE(request.command);
        std::vector<spi_ioc_transfer> transfers(size / sizeof(spi_ioc_transfer));
        std::vector<iovec> fetched{{request.argument, size}};
        std::vector<iovec> filled;
        if (!request.has(fetched, filled))
            return;
        std::memcpy(transfers.data(), request.in, size);
        for (const spi_ioc_transfer &transfer : transfers) {
            if (transfer.len > MaxLength) {
                log("message too long");
                return request.fail(EMSGSIZE);
            }
            if (transfer.tx_buf != 0)
                fetched.push_back(part(transfer.tx_buf, transfer.len));
            if (transfer.rx_buf != 0)
                filled.push_back(part(transfer.rx_buf, transfer.len));
        }
        if (!request.has(fetched, filled))
            return;
        std::this_thread::sleep_for(m_delay);
        cycle(request, transfers, request.in + size);
    }

private:
    void log(const std::string &text)
    {
        const std::chrono::duration<double> age = Clock::now() - m_start;
        std::fprintf(m_log, "%.3f %s\n", age.count(), text.c_str());
        std::fflush(m_log);
    }

    /** @param bytes sent bytes of all transfers, in order */
    void cycle(const Request &request, const std::vector<spi_ioc_transfer> &transfers,
               const uint8_t *bytes)
    {
        std::string entry = "cycle";
        Bytes sent;
        for (const spi_ioc_transfer &transfer : transfers) {
            const Bytes part = transfer.tx_buf != 0 ? Bytes(bytes, bytes + transfer.len) : Bytes();
            bytes += part.size();
            sent.insert(sent.end(), part.begin(), part.end());
            sent.resize(sent.size() + transfer.len - part.size());
            entry += ' ' + hex(part);
            if (transfer.rx_buf != 0)
                entry += 'r' + std::to_string(transfer.len);
        }
        const Bytes line = m_chip.cycle(sent);
        Bytes received;
        auto next = line.begin();
        for (const spi_ioc_transfer &transfer : transfers) {
            if (transfer.rx_buf != 0)
                received.insert(received.end(), next, next + transfer.len);
            next += transfer.len;
        }
        log(entry + (received.empty() ? "" : ' ' + hex(received)));
        fuse_reply_ioctl(request.id, static_cast<int>(sent.size()), received.data(),
                         received.size());
    }

    std::FILE *m_log;
    std::string m_fault;
    std::chrono::milliseconds m_delay;
    Clock::time_point m_start = Clock::now();
    Chip m_chip;
};

Device &device(fuse_req_t id)
{
    return *static_cast<Device *>(fuse_req_userdata(id));
}

void control(fuse_req_t id, int command, void *argument, fuse_file_info *, unsigned, const void *in,
             std::size_t inSize, std::size_t outSize)
{
    const Request request{id,       static_cast<unsigned>(command),
                          argument, static_cast<const uint8_t *>(in),
                          inSize,   outSize};
    if (_IOC_NR(request.command) == _IOC_NR(SPI_IOC_MESSAGE(0)))
        device(id).message(request);
    else
        device(id).setting(request);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 4) {
        std::fputs("Usage: chipsim LOG FAULT DELAY_MS [N=V]...\n", stderr);
        return 2;
    }
    Device device(argv[1], argv[2], std::atoi(argv[3]));
    for (int i = 4; i < argc; ++i) {
        char *value = nullptr;
        const auto number = std::strtoul(argv[i], &value, 10);
        device.chip().setParameter(number, std::strtoul(value + 1, nullptr, 10));
    }
    cuse_lowlevel_ops operations{};
    operations.open = [](fuse_req_t id, fuse_file_info *file) { ::device(id).open(id, file); };
    operations.release = [](fuse_req_t id, fuse_file_info *) { ::device(id).close(id); };
    operations.ioctl = control;
    const char *names[] = {"DEVNAME=spidev1.0"};
    cuse_info info{};
    info.dev_info_argc = 1;
    info.dev_info_argv = names;
    info.flags = CUSE_UNRESTRICTED_IOCTL;
    std::string foreground = "-f";
    std::string oneAtATime = "-s";
    char *words[] = {argv[0], foreground.data(), oneAtATime.data(), nullptr};
    return cuse_lowlevel_main(3, words, &info, &operations, &device);
}
