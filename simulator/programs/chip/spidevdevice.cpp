#include "simulator/programs/chip/spidevdevice.h"

#define FUSE_USE_VERSION 31
#include <cerrno>
#include <cstring>
#include <cuse_lowlevel.h>
#include <sys/ioctl.h>
#include <thread>

namespace chip
{

struct SpidevDevice::Request {
    fuse_req_t id;
    fuse_file_info *file = nullptr;
    // Of an ioctl
    unsigned command = 0;
    void *argument = nullptr;    ///< in the caller's memory
    const uint8_t *in = nullptr; ///< the caller's memory that has been fetched so far
    std::size_t inSize = 0;
    std::size_t outSize = 0; ///< bytes of the caller's memory that are ready to be filled

    void fail(int error) const { fuse_reply_err(id, error); }

    /** Answers with a result and its bytes; a negative result is -errno. */
    void answer(int result, const void *bytes, std::size_t size) const
    {
        if (result < 0)
            fail(-result);
        else
            fuse_reply_ioctl(id, result, bytes, size);
    }

    /** Has the kernel ask again with these parts of the caller's memory. */
    void askAgain(const std::vector<iovec> &fetch, const std::vector<iovec> &fill) const
    {
        fuse_reply_ioctl_retry(id, fetch.data(), fetch.size(), fill.data(), fill.size());
    }
};

/** A setting of the bus, as ioctl requests name it. */
struct SpidevDevice::Register {
    unsigned number; ///< of the requests that read and write it
    const char *name;
    std::size_t size; ///< bytes that a request transfers
    uint32_t &value;
};

namespace
{

using Request = SpidevDevice::Request;

spi_ioc_transfer plainTransfer(bool sends, bool receives, std::size_t length)
{
    spi_ioc_transfer transfer;
    std::memset(&transfer, 0, sizeof transfer);
    transfer.tx_buf = sends;
    transfer.rx_buf = receives;
    transfer.len = static_cast<uint32_t>(length);
    return transfer;
}

iovec part(uint64_t address, std::size_t length)
{
    // spidev's structure has pointers as numbers. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return {reinterpret_cast<void *>(static_cast<uintptr_t>(address)), length};
}

/** The caller's memory that the transfers of a message name. */
struct Buffers {
    /** @param list where the transfers themselves stand */
    explicit Buffers(const iovec &list) : fetch{list} {}

    void add(const spi_ioc_transfer &transfer)
    {
        if (transfer.tx_buf != 0 && transfer.len != 0) {
            fetch.push_back(part(transfer.tx_buf, transfer.len));
            sent += transfer.len;
        }
        if (transfer.rx_buf != 0 && transfer.len != 0) {
            fill.push_back(part(transfer.rx_buf, transfer.len));
            received += transfer.len;
        }
    }

    std::vector<iovec> fetch;
    std::vector<iovec> fill;
    std::size_t sent = 0;
    std::size_t received = 0;
};

bool isTransferMessage(unsigned command)
{
    return _IOC_NR(command) == _IOC_NR(SPI_IOC_MESSAGE(0)) && _IOC_DIR(command) == _IOC_WRITE;
}

SpidevDevice &device(fuse_req_t id)
{
    return *static_cast<SpidevDevice *>(fuse_req_userdata(id));
}

cuse_lowlevel_ops operations()
{
    cuse_lowlevel_ops ops;
    std::memset(&ops, 0, sizeof ops);
    ops.open = [](fuse_req_t id, fuse_file_info *file) { device(id).open({id, file}); };
    ops.release = [](fuse_req_t id, fuse_file_info *) { device(id).close({id}); };
    ops.read = [](fuse_req_t id, size_t size, off_t, fuse_file_info *) {
        device(id).read({id}, size);
    };
    ops.write = [](fuse_req_t id, const char *bytes, size_t size, off_t, fuse_file_info *) {
        device(id).write({id}, reinterpret_cast<const uint8_t *>(bytes), size);
    };
    ops.ioctl = [](fuse_req_t id, int command, void *argument, fuse_file_info *, unsigned flags,
                   const void *in, size_t inSize, size_t outSize) {
        const Request request{id,
                              nullptr,
                              static_cast<unsigned>(command),
                              argument,
                              static_cast<const uint8_t *>(in),
                              inSize,
                              outSize};
        if ((flags & FUSE_IOCTL_COMPAT) != 0)
            request.fail(ENOSYS);
        else
            device(id).control(request);
    };
    return ops;
}

} // namespace

SpidevDevice::SpidevDevice(const Scenario &scenario, Fm25v02Chip &chip, common::EventLog &log)
    : m_scenario(scenario), m_log(log),
      m_bus(chip, scenario.fault, [&log](const std::string &entry) { log.write(entry); })
{
    store(m_scenario, chip);
}

int SpidevDevice::run(const char *program)
{
    const char *names[] = {"DEVNAME=spidev1.0"};
    cuse_info info;
    std::memset(&info, 0, sizeof info);
    info.dev_info_argc = 1;
    info.dev_info_argv = names;
    info.flags = CUSE_UNRESTRICTED_IOCTL;
    const cuse_lowlevel_ops ops = operations();
    std::string arguments[] = {program, "-f", "-s"}; // in the foreground, one request at a time
    char *argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), nullptr};
    return cuse_lowlevel_main(3, argv, &info, &ops, this);
}

void SpidevDevice::open(const Request &request)
{
    if (m_scenario.fault == Fault::Open) {
        m_log.write("open failed");
        request.fail(EBUSY);
        return;
    }
    m_log.write("open");
    fuse_reply_open(request.id, request.file);
}

void SpidevDevice::close(const Request &request)
{
    m_log.write("close");
    fuse_reply_err(request.id, 0);
}

void SpidevDevice::read(const Request &request, std::size_t length)
{
    if (length > SpiBus::BufferSize)
        return request.fail(EMSGSIZE);
    const SpiBus::Reply reply = transfer({plainTransfer(false, true, length)}, nullptr);
    if (reply.result < 0)
        return request.fail(-reply.result);
    fuse_reply_buf(request.id, reinterpret_cast<const char *>(reply.received.data()),
                   reply.received.size());
}

void SpidevDevice::write(const Request &request, const uint8_t *bytes, std::size_t length)
{
    if (length > SpiBus::BufferSize)
        return request.fail(EMSGSIZE);
    const SpiBus::Reply reply = transfer({plainTransfer(true, false, length)}, bytes);
    if (reply.result < 0)
        return request.fail(-reply.result);
    fuse_reply_write(request.id, static_cast<std::size_t>(reply.result));
}

void SpidevDevice::control(const Request &request)
{
    if (_IOC_TYPE(request.command) != SPI_IOC_MAGIC)
        request.fail(ENOTTY);
    else if (isTransferMessage(request.command))
        message(request);
    else
        setting(request);
}

void SpidevDevice::message(const Request &request)
{
    const std::size_t size = _IOC_SIZE(request.command);
    const std::size_t count = size / sizeof(spi_ioc_transfer);
    if (size % sizeof(spi_ioc_transfer) != 0)
        return request.fail(EINVAL);
    if (count == 0)
        return request.answer(0, nullptr, 0);
    const iovec list{request.argument, size};
    if (request.inSize < size)
        return request.askAgain({list}, {});

    std::vector<spi_ioc_transfer> transfers(count);
    std::memcpy(transfers.data(), request.in, size);
    if (const int error = SpiBus::refusal(transfers)) {
        m_log.write("message too long");
        return request.fail(error);
    }
    Buffers buffers(list);
    for (const spi_ioc_transfer &transfer : transfers)
        buffers.add(transfer);
    if (request.inSize < size + buffers.sent || request.outSize < buffers.received)
        return request.askAgain(buffers.fetch, buffers.fill);
    const SpiBus::Reply reply = transfer(transfers, request.in + size);
    request.answer(reply.result, reply.received.data(), reply.received.size());
}

void SpidevDevice::setting(const Request &request)
{
    const Register known[] = {
        {_IOC_NR(SPI_IOC_RD_MODE), "MODE", 1, m_mode},
        {_IOC_NR(SPI_IOC_RD_LSB_FIRST), "LSB_FIRST", 1, m_lsbFirst},
        {_IOC_NR(SPI_IOC_RD_BITS_PER_WORD), "BITS_PER_WORD", 1, m_bitsPerWord},
        {_IOC_NR(SPI_IOC_RD_MAX_SPEED_HZ), "MAX_SPEED_HZ", 4, m_speedHz},
        {_IOC_NR(SPI_IOC_RD_MODE32), "MODE32", 4, m_mode},
    };
    for (const Register &found : known) {
        if (_IOC_NR(request.command) == found.number && _IOC_SIZE(request.command) == found.size)
            return access(found, request);
    }
    request.fail(ENOTTY);
}

void SpidevDevice::access(const Register &found, const Request &request)
{
    const bool writes = _IOC_DIR(request.command) == _IOC_WRITE;
    const iovec argument{request.argument, found.size};
    const std::string name = (writes ? "WR_" : "RD_") + std::string(found.name);
    if (m_scenario.fault == Fault::Queries) {
        m_log.write(name + " failed");
        return request.fail(EINVAL);
    }
    if (writes && request.inSize < found.size)
        return request.askAgain({argument}, {});
    if (!writes && request.outSize < found.size)
        return request.askAgain({}, {argument});
    if (writes)
        std::memcpy(&found.value, request.in, found.size);
    m_log.write(name + ' ' + std::to_string(found.value));
    request.answer(0, &found.value, writes ? 0 : found.size);
}

SpiBus::Reply SpidevDevice::transfer(const std::vector<spi_ioc_transfer> &transfers,
                                     const uint8_t *sent)
{
    std::this_thread::sleep_for(m_scenario.delay);
    return m_bus.message(transfers, sent);
}

} // namespace chip
