// The SPI bus as spidev offers it: messages of transfers become chip-select cycles of the chip.
#pragma once

#include "fm25v02_chip.h"
#include "scenario.h"

#include <functional>
#include <linux/spi/spidev.h>
#include <string>
#include <vector>

namespace chip
{

/**
 * Calls its log once per chip-select cycle, when chip select rises. An entry is "cycle", then every
 * transfer's bytes in hex, rN for N bytes that were only clocked in, xN behind bytes of which N
 * were clocked in as well; at the end all bytes clocked in:
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

    SpiBus(Fm25v02Chip &chip, Log log) : m_chip(chip), m_log(std::move(log)) {}

    /** Faults from here on. */
    void setFault(Fault fault) { m_fault = fault; }

    /** @return 0, or the errno with which spidev refuses such a message unsent */
    static int refusal(const std::vector<spi_ioc_transfer> &transfers);

    /**
     * One message. Chip select rises at its end and after a transfer with cs_change; at the end,
     * cs_change of the last transfer leaves it low, and the next message goes on with the cycle.
     * @param transfers of which tx_buf and rx_buf only say whether they send and receive; one that
     * does not send clocks out zeros
     * @param sent the bytes of all sending transfers, one after another
     */
    Reply message(const std::vector<spi_ioc_transfer> &transfers, const uint8_t *sent);

private:
    void clock(const spi_ioc_transfer &transfer, const uint8_t *sent,
               std::vector<uint8_t> &received);
    uint8_t disturbed(uint8_t miso) const;
    void endCycle();

    Fm25v02Chip &m_chip;
    Log m_log;
    Fault m_fault = Fault::None;
    bool m_selected = false;
    std::string m_clockedOut;
    std::string m_clockedIn;
};

} // namespace chip
