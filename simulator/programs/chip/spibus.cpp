#include "simulator/programs/chip/spibus.h"

#include <cerrno>
#include <climits>

namespace chip
{
namespace
{

/** Bytes that still arrive with Fault::Short: parameter 10 of the block is not among them. */
constexpr std::size_t ShortLength = 16;

std::string hex(uint8_t byte)
{
    constexpr char Digits[] = "0123456789abcdef";
    return {Digits[byte >> 4], Digits[byte & 0x0F]};
}

} // namespace

int SpiBus::refusal(const std::vector<spi_ioc_transfer> &transfers)
{
    std::size_t sent = 0;
    std::size_t received = 0;
    for (const spi_ioc_transfer &transfer : transfers) {
        // Checked one by one: the sum of two huge ones would overflow.
        if (transfer.len > BufferSize)
            return EMSGSIZE;
        sent += transfer.tx_buf != 0 ? transfer.len : 0;
        received += transfer.rx_buf != 0 ? transfer.len : 0;
    }
    return sent > BufferSize || received > BufferSize ? EMSGSIZE : 0;
}

SpiBus::Reply SpiBus::message(const std::vector<spi_ioc_transfer> &transfers, const uint8_t *sent)
{
    Reply reply;
    if (m_fault == Fault::Transfers) {
        m_log("message failed");
        reply.result = -EIO;
        return reply;
    }
    for (const spi_ioc_transfer &transfer : transfers) {
        clock(transfer, sent, reply.received);
        sent += transfer.tx_buf != 0 ? transfer.len : 0;
        reply.result += static_cast<int>(transfer.len);
        const bool last = &transfer == &transfers.back();
        if ((transfer.cs_change != 0) != last)
            endCycle();
    }
    if (m_fault == Fault::Short && reply.received.size() > ShortLength) {
        reply.result -= static_cast<int>(reply.received.size() - ShortLength);
        reply.received.resize(ShortLength);
    }
    return reply;
}

void SpiBus::clock(const spi_ioc_transfer &transfer, const uint8_t *sent,
                   std::vector<uint8_t> &received)
{
    if (!m_selected) {
        m_chip.select();
        m_selected = true;
    }
    const bool sends = transfer.tx_buf != 0;
    const bool receives = transfer.rx_buf != 0;
    m_clockedOut += ' ';
    for (uint32_t i = 0; i < transfer.len; ++i) {
        const uint8_t miso = disturbed(m_chip.exchange(sends ? sent[i] : 0));
        if (sends)
            m_clockedOut += hex(sent[i]);
        if (receives) {
            received.push_back(miso);
            m_clockedIn += hex(miso);
        }
    }
    if (receives)
        m_clockedOut += (sends ? " x" : "r") + std::to_string(transfer.len);
}

uint8_t SpiBus::disturbed(uint8_t miso) const
{
    switch (m_fault) {
    case Fault::Zeros:
        return 0x00;
    case Fault::Ones:
        return 0xFF;
    default:
        return miso;
    }
}

void SpiBus::endCycle()
{
    m_chip.deselect();
    m_selected = false;
    m_log("cycle" + m_clockedOut + (m_clockedIn.empty() ? "" : ' ' + m_clockedIn));
    m_clockedOut.clear();
    m_clockedIn.clear();
}

} // namespace chip
