// The SPI bus as spidev offers it: turns messages of transfers into chip-select cycles.
#pragma once

#include "simulator/programs/chip/fm25v02chip.h"
#include "simulator/programs/chip/scenario.h"

#include <functional>
#include <linux/spi/spidev.h>
#include <string>
#include <vector>

namespace chip
{

/**
 * Logs every chip-select cycle when chip select rises: "cycle", the bytes of every transfer in hex,
 * and at last all bytes clocked in. A transfer that clocks N bytes in is rN; xN follows the bytes
 * of one that clocks N out and in:
 *
 *     cycle 06
 *     cycle 030004 r2 0100
 */
class SpiBus
{
public:
    using Log = std::function<void(const std::string &)>;

    /** spidev's default bufsiz: the most bytes a message may send, and the most it may receive. */
    static constexpr std::size_t BufferSize = 4096;

    struct Reply {
        int result = 0;                ///< bytes transferred, or -errno
        std::vector<uint8_t> received; ///< those of all receiving transfers, one after another
    };

    SpiBus(Fm25v02Chip &chip, Fault fault, Log log)
        : m_chip(chip), m_fault(fault), m_log(std::move(log))
    {
    }

    /** @return 0, or the errno with which spidev refuses such a message unsent */
    static int refusal(const std::vector<spi_ioc_transfer> &transfers);

    /**
     * Serves one message. Chip select rises at its end and after a transfer with cs_change. After
     * the last transfer, cs_change leaves it low: the next message goes on with the cycle.
     * @param transfers tx_buf and rx_buf say no more than whether they send and receive; one that
     *        does not send clocks out zeros
     * @param sent the bytes of all sending transfers, one after another
     */
    Reply message(const std::vector<spi_ioc_transfer> &transfers, const uint8_t *sent);

private:
    void clock(const spi_ioc_transfer &transfer, const uint8_t *sent,
               std::vector<uint8_t> &received);
    uint8_t disturbed(uint8_t miso) const;
    void endCycle();

    Fm25v02Chip &m_chip;
    Fault m_fault;
    Log m_log;
    bool m_selected = false;
    std::string m_clockedOut;
    std::string m_clockedIn;
};

} // namespace chip
