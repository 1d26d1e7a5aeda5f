// The network behind the dongle: a second pppd in a network namespace of its own.
#pragma once

#include "simulator/programs/modem/scenario.h"

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace modem
{

/** How the program of the network ended. */
struct NetworkEnd {
    bool callerLeft = false; ///< the board ended the call, or does not answer any more
    std::string text;        ///< "exit 5", "signal 9"
};

/**
 * Runs the network's pppd on the line of a call, and all the while its name server.
 *
 * It also has a mount namespace of its own, in which /etc/ppp is a folder of the simulator's. So
 * the board's pppd and this one have different options and secrets on the same file system.
 */
class NetworkSide
{
public:
    struct Settings {
        std::string program = "/usr/sbin/netpppd"; ///< a pppd that "killall pppd" does not reach
        std::string nameSpace = "carrier";         ///< empty: run the program as it stands
        std::string folder = "/run/modemsim"; ///< made and removed; holds the network's /etc/ppp
        std::string log = "/dev/null";        ///< what the program prints and logs
    };

    explicit NetworkSide(const Settings &settings) : m_settings(settings) {}
    ~NetworkSide() { remove(); }
    NetworkSide(const NetworkSide &) = delete;
    NetworkSide &operator=(const NetworkSide &) = delete;

    /** Makes the namespace, its addresses and its name server. @return what failed, nothing when
     * all is well */
    std::string prepare();

    /** Starts the program on a terminal. @return what failed, nothing when it runs */
    std::string start(const Scenario &scenario, const std::string &port);

    bool running() const { return m_pid > 0; }
    pid_t pid() const { return m_pid; }

    /** Sends a signal to the program, if it runs. */
    void signal(int signal);

    /** @return how the program ended, once, when it has */
    std::optional<NetworkEnd> ended();

    /** Ends the programs that still run, and takes the namespace away. */
    void remove();

private:
    std::string writeSecrets(const Scenario &scenario) const;
    bool enter() const;
    std::string pppFolder() const { return m_settings.folder + "/ppp"; }

    Settings m_settings;
    pid_t m_pid = -1;
    pid_t m_nameServer = -1; ///< lives as long as the namespace
    bool m_prepared = false;
};

} // namespace modem
