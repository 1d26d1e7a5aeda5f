// modemsim: plays a USB modem stick on a serial line, and the network behind it.
#include "event_log.h"
#include "network_side.h"
#include "scenario.h"
#include "stick.h"

#include <csignal>
#include <cstdio>
#include <getopt.h>
#include <string>
#include <sys/signalfd.h>

namespace
{

struct Options {
    modem::Stick::Settings stick;
    modem::NetworkSide::Settings network;
    std::string log;
    bool help = false;
};

void printHelp()
{
    std::printf(
        "Usage: modemsim [OPTION]...\n"
        "Plays a USB modem stick on a serial line, and the network behind it.\n\n"
        "  --port DEVICE          the stick's serial line (/dev/ttyGS0)\n"
        "  --scenario FILE        what to do, read again at every command line\n"
        "  --log FILE             commands, replies and events (standard error)\n"
        "  --network PROGRAM      pppd of the network (/usr/sbin/netpppd)\n"
        "  --network-log FILE     its debug log (/dev/null)\n"
        "  --namespace NAME       its network namespace (carrier); empty: none\n"
        "  --folder FOLDER        for the files of the namespace (/run/modemsim)\n"
        "  --help                 this text\n\n"
        "A scenario file has lines of key=value; in brackets the value without the line:\n%s",
        modem::scenarioHelp());
}

bool parseOptions(int argc, char **argv, Options &options)
{
    static const option known[] = {
        {"port", required_argument, nullptr, 'p'},
        {"scenario", required_argument, nullptr, 's'},
        {"log", required_argument, nullptr, 'l'},
        {"network", required_argument, nullptr, 'n'},
        {"network-log", required_argument, nullptr, 'w'},
        {"namespace", required_argument, nullptr, 'e'},
        {"folder", required_argument, nullptr, 'f'},
        {"help", no_argument, nullptr, 'h'},
        {nullptr, 0, nullptr, 0},
    };
    options.network.log = "/dev/null";
    for (int choice = 0; (choice = ::getopt_long(argc, argv, "", known, nullptr)) != -1;) {
        switch (choice) {
        case 'p':
            options.stick.port = optarg;
            break;
        case 's':
            options.stick.scenario = optarg;
            break;
        case 'l':
            options.log = optarg;
            break;
        case 'n':
            options.network.program = optarg;
            break;
        case 'w':
            options.network.log = optarg;
            break;
        case 'e':
            options.network.nameSpace = optarg;
            break;
        case 'f':
            options.network.folder = optarg;
            break;
        case 'h':
            options.help = true;
            break;
        default:
            return false;
        }
    }
    return optind == argc;
}

/** @return a signalfd for the signals that the stick serves, or an invalid one. */
modem::UniqueFd blockSignals()
{
    // The line hangs up when the stick is pulled, whoever's terminal it may be.
    ::signal(SIGHUP, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
    sigset_t served;
    sigemptyset(&served);
    for (const int number : {SIGTERM, SIGINT, SIGCHLD})
        sigaddset(&served, number);
    ::sigprocmask(SIG_BLOCK, &served, nullptr);
    return modem::UniqueFd(::signalfd(-1, &served, SFD_CLOEXEC | SFD_NONBLOCK));
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    if (!parseOptions(argc, argv, options)) {
        std::fprintf(stderr, "Try modemsim --help\n");
        return 2;
    }
    if (options.help) {
        printHelp();
        return 0;
    }
    const modem::UniqueFd signals = blockSignals();
    modem::EventLog log(options.log);
    if (!signals.valid() || !log.isOpen()) {
        std::perror("modemsim");
        return 1;
    }
    modem::NetworkSide network(options.network);
    const std::string fault = network.prepare();
    if (!fault.empty()) {
        log.event(fault);
        std::fprintf(stderr, "modemsim: %s\n", fault.c_str());
        return 1;
    }
    modem::Stick stick(options.stick, log, network);
    stick.run(signals.get());
    return 0;
}
