// The character device in the place of spidev: hands its requests to the SPI bus (by CUSE).
#pragma once

#include "simulator/programs/chip/fm25v02chip.h"
#include "simulator/programs/chip/scenario.h"
#include "simulator/programs/chip/spibus.h"
#include "simulator/programs/common/eventlog.h"

#include <cstdint>
#include <string>

namespace chip
{

/**
 * Logs every open and close, every setting that is read or written, and every chip-select cycle:
 *
 *     open
 *     RD_MAX_SPEED_HZ 10000000
 *     cycle 9f r9 7f7f7f7f7f7fc22208
 *     close
 *
 * An entry ends in "failed" when the scenario makes that fail.
 */
class SpidevDevice
{
public:
    /** Stores the scenario's parameters in the chip. */
    SpidevDevice(const Scenario &scenario, Fm25v02Chip &chip, common::EventLog &log);

    /** Serves the device until SIGTERM, SIGINT or SIGHUP. @return exit status of the program */
    int run(const char *program);

    // Requests, as CUSE delivers them; a type of our own keeps libfuse's headers out of this one.
    struct Request;
    void open(const Request &request);
    void close(const Request &request);
    void read(const Request &request, std::size_t length);
    void write(const Request &request, const uint8_t *bytes, std::size_t length);
    void control(const Request &request);

private:
    void message(const Request &request);
    void setting(const Request &request);
    struct Register;
    void access(const Register &found, const Request &request);
    SpiBus::Reply transfer(const std::vector<spi_ioc_transfer> &transfers, const uint8_t *sent);

    Scenario m_scenario;
    common::EventLog &m_log;
    SpiBus m_bus;

    uint32_t m_mode = SPI_MODE_0;
    uint32_t m_lsbFirst = 0;
    uint32_t m_bitsPerWord = 8;
    uint32_t m_speedHz = 10000000;
};

} // namespace chip
