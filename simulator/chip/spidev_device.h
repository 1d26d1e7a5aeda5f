// The character device that stands for spidev: a CUSE device whose requests go to the SPI bus.
#pragma once

#include "event_log.h"
#include "fm25v02_chip.h"
#include "scenario.h"
#include "spi_bus.h"

#include <cstdint>
#include <string>

namespace chip
{

/**
 * Its log has one entry for every open and close, for every setting that is read or written, and
 * for every chip-select cycle:
 *
 *     open
 *     RD_MAX_SPEED_HZ 10000000
 *     cycle 9f r9 7f7f7f7f7f7fc22208
 *     close
 *
 * What is made to fail has an entry that ends in "failed".
 */
class SpidevDevice
{
public:
    struct Settings {
        std::string name = "spidev1.0"; ///< below /dev
        std::string scenarioFile;       ///< read again at every open; empty for none
        Scenario scenario;              ///< what holds where the file says nothing
        uint32_t speedHz = 10000000;
    };

    SpidevDevice(Settings settings, Fm25v02Chip &chip, EventLog &log);

    /** Serves the device until SIGTERM, SIGINT or SIGHUP. @return exit status of the program */
    int run(const char *program);

    // Requests, as CUSE delivers them. The struct keeps libfuse's headers out of this one.
    struct Request;
    void open(const Request &request);
    void close(const Request &request);
    void read(const Request &request, std::size_t length);
    void write(const Request &request, const uint8_t *bytes, std::size_t length);
    void control(const Request &request);

private:
    void message(const Request &request);
    void setting(const Request &request);
    SpiBus::Reply transfer(const std::vector<spi_ioc_transfer> &transfers, const uint8_t *sent);

    Settings m_settings;
    Scenario m_scenario;
    Fm25v02Chip &m_chip;
    EventLog &m_log;
    SpiBus m_bus;

    uint32_t m_mode = SPI_MODE_0;
    uint32_t m_lsbFirst = 0;
    uint32_t m_bitsPerWord = 8;
    uint32_t m_speedHz;
};

} // namespace chip
