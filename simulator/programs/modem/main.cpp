// modemsim: plays the dongle, a USB modem stick, on a serial line, and the network behind it.
#include "simulator/programs/common/commandline.h"
#include "simulator/programs/common/eventlog.h"
#include "simulator/programs/modem/dongle.h"
#include "simulator/programs/modem/networkside.h"
#include "simulator/programs/modem/scenario.h"

#include <csignal>
#include <cstdio>
#include <string>
#include <sys/signalfd.h>

namespace
{

struct Options {
    modem::Dongle::Settings dongle;
    modem::NetworkSide::Settings network;
    std::string log;
    std::string checked; ///< a scenario file that is only to be checked
};

common::CommandLine commandLine(Options &options)
{
    using common::anyText;
    return {
        "modemsim",
        "Plays the dongle, a USB modem stick, on a serial line, and the network behind it.",
        {},
        {
            {"port", anyText("DEVICE", options.dongle.port),
             "the dongle's serial line (/dev/ttyGS0)"},
            {"scenario", anyText("FILE", options.dongle.scenario),
             "what to do, read again at every command line"},
            {"check-scenario", anyText("FILE", options.checked),
             "only say what is wrong with a scenario"},
            {"log", anyText("FILE", options.log), "commands, replies and events (standard error)"},
            {"network", anyText("PROGRAM", options.network.program),
             "pppd of the network (/usr/sbin/netpppd)"},
            {"network-log", anyText("FILE", options.network.log), "its debug log (/dev/null)"},
            {"namespace", anyText("NAME", options.network.nameSpace),
             "its network namespace (carrier); empty: none"},
            {"folder", anyText("FOLDER", options.network.folder),
             "for the files of the namespace (/run/modemsim)"},
        },
        0,
        "\nA scenario file has lines of key=value; in brackets the value without the line:\n" +
            modem::scenarioHelp()};
}

/** Prints what is wrong with a scenario file. @return exit status of the program */
int reportScenario(const std::string &path)
{
    const std::vector<std::string> faults = modem::checkScenario(path);
    for (const std::string &fault : faults)
        std::puts(fault.c_str());
    return faults.empty() ? 0 : 1;
}

/** @return a signalfd for the signals that the dongle serves, or -1 */
FileDescriptor blockSignals()
{
    // The line hangs up when the dongle is pulled, and may be a controlling terminal.
    ::signal(SIGHUP, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
    sigset_t served;
    sigemptyset(&served);
    for (const int number : {SIGTERM, SIGINT, SIGCHLD})
        sigaddset(&served, number);
    ::sigprocmask(SIG_BLOCK, &served, nullptr);
    return FileDescriptor(::signalfd(-1, &served, SFD_CLOEXEC | SFD_NONBLOCK));
}

/** Plays until it is told to stop. @return exit status of the program */
int play(const Options &options)
{
    const FileDescriptor signals = blockSignals();
    common::EventLog log(options.log);
    if (!signals.isOpen() || !log.isOpen()) {
        std::perror("modemsim");
        return 1;
    }
    modem::NetworkSide network(options.network);
    const std::string fault = network.prepare();
    if (!fault.empty()) {
        log.write("event " + fault);
        std::fprintf(stderr, "modemsim: %s\n", fault.c_str());
        return 1;
    }
    modem::Dongle dongle(options.dongle, log, network);
    dongle.run(signals.get());
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    if (const auto status = common::readCommandLine(commandLine(options), argc, argv))
        return *status;
    return options.checked.empty() ? play(options) : reportScenario(options.checked);
}
