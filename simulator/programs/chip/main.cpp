// chipsim: plays the FM25V02 F-RAM chip, and the spidev device that leads to it.
#include "simulator/programs/chip/spidevdevice.h"
#include "simulator/programs/common/commandline.h"

#include <cstdio>

namespace
{

common::CommandLine commandLine(chip::Scenario &scenario, std::string &log)
{
    common::CommandLine line{
        "chipsim",
        "Plays an FM25V02 F-RAM chip behind the device /dev/spidev1.0; ends on SIGTERM.",
        {},
        chip::scenarioSettings(scenario)};
    line.options.push_back({"log", common::anyText("FILE", log),
                            "opens, settings, chip-select cycles (standard error)"});
    return line;
}

} // namespace

int main(int argc, char **argv)
{
    chip::Scenario scenario;
    std::string logPath;
    if (const auto status = common::readCommandLine(commandLine(scenario, logPath), argc, argv))
        return *status;
    common::EventLog log(logPath);
    if (!log.isOpen()) {
        std::perror("chipsim: log");
        return 1;
    }
    chip::Fm25v02Chip chip;
    return chip::SpidevDevice(scenario, chip, log).run(argv[0]);
}
