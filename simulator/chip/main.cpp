// chipsim: plays the FM25V02 F-RAM chip, and the spidev device that leads to it.
#include "spidev_device.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <getopt.h>

namespace
{

struct Options {
    chip::SpidevDevice::Settings device;
    std::string image;
    std::string log;
    bool help = false;
};

void printHelp()
{
    std::puts("Usage: chipsim [OPTION]...\n"
              "Plays an FM25V02 F-RAM chip behind a spidev device; ends on SIGTERM.\n\n"
              "  --name NAME          of the device below /dev (spidev1.0)\n"
              "  --image FILE         the memory's content from address 0 on (zeros)\n"
              "  --parameter N=V      parameter N of the block at address 4 becomes V\n"
              "  --fault FAULT        none, open, queries, transfers, short, zeros or ones\n"
              "  --delay MS           added to every message (0)\n"
              "  --speed HZ           the bus's clock (10000000)\n"
              "  --scenario FILE      lines of fault=, delay_ms= and parameter.N=, read again\n"
              "                       at every open\n"
              "  --log FILE           opens, settings, chip-select cycles (standard error)\n"
              "  --help               this text");
}

/** @return false when the option or its value is not understood */
bool take(Options &options, int choice, const std::string &value)
{
    switch (choice) {
    case 'n':
        options.device.name = value;
        return !value.empty();
    case 'i':
        options.image = value;
        return true;
    case 'p':
        return chip::setPair(options.device.scenario, "parameter." + value);
    case 'f':
        return options.device.scenario.set("fault", value);
    case 'd':
        return options.device.scenario.set("delay_ms", value);
    case 'z':
        options.device.speedHz = static_cast<uint32_t>(std::strtoul(value.c_str(), nullptr, 10));
        return options.device.speedHz > 0;
    case 's':
        options.device.scenarioFile = value;
        return true;
    case 'l':
        options.log = value;
        return true;
    case 'h':
        options.help = true;
        return true;
    default:
        return false;
    }
}

bool parseOptions(int argc, char **argv, Options &options)
{
    static const option known[] = {
        {"name", required_argument, nullptr, 'n'},
        {"image", required_argument, nullptr, 'i'},
        {"parameter", required_argument, nullptr, 'p'},
        {"fault", required_argument, nullptr, 'f'},
        {"delay", required_argument, nullptr, 'd'},
        {"speed", required_argument, nullptr, 'z'},
        {"scenario", required_argument, nullptr, 's'},
        {"log", required_argument, nullptr, 'l'},
        {"help", no_argument, nullptr, 'h'},
        {nullptr, 0, nullptr, 0},
    };
    for (int choice = 0; (choice = ::getopt_long(argc, argv, "", known, nullptr)) != -1;) {
        if (!take(options, choice, optarg != nullptr ? optarg : ""))
            return false;
    }
    return optind == argc;
}

/** @return false when the file cannot be read or is larger than the memory */
bool loadImage(const std::string &path, chip::Fm25v02Chip &chip)
{
    std::ifstream file(path, std::ios::binary);
    std::vector<uint8_t> &memory = chip.memory();
    file.read(reinterpret_cast<char *>(memory.data()), static_cast<std::streamsize>(memory.size()));
    return !file.bad() && file.gcount() > 0 && file.peek() == std::ifstream::traits_type::eof();
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    if (!parseOptions(argc, argv, options)) {
        std::fputs("Try chipsim --help\n", stderr);
        return 2;
    }
    if (options.help) {
        printHelp();
        return 0;
    }
    chip::Fm25v02Chip chip;
    if (!options.image.empty() && !loadImage(options.image, chip)) {
        std::fprintf(stderr, "chipsim: %s is no image of 1 to %zu bytes\n", options.image.c_str(),
                     chip::Fm25v02Chip::MemorySize);
        return 1;
    }
    chip::EventLog log(options.log);
    if (!log.isOpen()) {
        std::perror("chipsim: log");
        return 1;
    }
    return chip::SpidevDevice(options.device, chip, log).run(argv[0]);
}
