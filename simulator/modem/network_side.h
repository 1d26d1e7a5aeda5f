// The network behind the stick: a pppd of its own in a network namespace of its own.
#pragma once

#include "scenario.h"

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace modem
{

/** How the network's pppd ended. */
struct NetworkEnd {
    bool callerLeft = false; ///< the other side ended the call or is not there any more
    std::string text;        ///< "exit 5", "signal 9"
};

/**
 * Runs the network's pppd on the line of a call.
 *
 * It also has a mount namespace of its own, in which /etc/ppp is a folder of the simulator's. The
 * panel's pppd and this one thereby have different options and secrets on the same file system.
 */
class NetworkSide
{
public:
    struct Settings {
        std::string program = "/usr/sbin/netpppd"; ///< a pppd that "killall pppd" does not reach
        std::string nameSpace = "carrier";         ///< empty: run the program as it stands
        std::string folder = "/run/modemsim"; ///< made and removed; the network's /etc/ppp is in it
        std::string log;                      ///< what the program prints and logs
    };

    explicit NetworkSide(const Settings &settings) : m_settings(settings) {}
    ~NetworkSide() { remove(); }
    NetworkSide(const NetworkSide &) = delete;
    NetworkSide &operator=(const NetworkSide &) = delete;

    /** Makes the namespace with its addresses. @return an English fault, empty when all is well. */
    std::string prepare();

    /** Starts the program on a terminal. @return an English fault, empty when it was started. */
    std::string start(const Scenario &scenario, const std::string &port);

    bool running() const { return m_pid > 0; }
    pid_t pid() const { return m_pid; }

    /** @param signal what to send to the program, if it runs. */
    void signal(int signal);

    /** @return how the program ended, once, when it has. */
    std::optional<NetworkEnd> ended();

    /** Ends the program, if it still runs, and takes the namespace away. */
    void remove();

private:
    std::string writeSecrets(const Scenario &scenario) const;
    bool enter() const;
    std::string pppFolder() const { return m_settings.folder + "/ppp"; }

    Settings m_settings;
    pid_t m_pid = -1;
    bool m_prepared = false;
};

} // namespace modem
