// The network behind the dongle: a pppd for its end of the link.
#pragma once

#include "simulator/programs/modem/scenario.h"
#include "simulator/programs/modem/terminal.h"

#include <csignal>
#include <fstream>
#include <iomanip>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace modem
{

// With these options, pppd drops a caller that does not answer after about 12 s.
constexpr char LinkOptions[] =
    " 115200 local nodetach 10.64.64.64:10.11.12.13 ms-dns 10.64.64.64 noipdefault nodefaultroute "
    "noipv6 noccp novj lcp-restart 2 lcp-max-configure 6 lcp-echo-interval 3 lcp-echo-failure 4 "
    "debug show-password ";

/** Runs the network's pppd on a pseudo-terminal during a call. */
class Network
{
public:
    /**
     * @param program pppd under another name, so that "killall pppd" does not reach it
     * @param directory directory of its log and, in ppp, of its secrets
     */
    Network(const std::string &program, const std::string &directory)
        : m_program(program), m_directory(directory)
    {
    }

    void start(const Scenario &scenario)
    {
        writeSecrets(scenario);
        m_early.clear();
        m_ready = false;
        const std::string method = scenario.at("auth");
        const std::string command = "exec " + m_program + LinkOptions +
                                    (method == "none" ? "noauth" : "require-" + method) +
                                    " logfile " + m_directory + "/network.log";
        termios raw = {};
        makeRaw(raw);
        int line = -1;
        m_pid = ::forkpty(&line, nullptr, &raw, nullptr);
        if (m_pid == 0) {
            ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            ::_exit(127);
        }
        m_line = FileDescriptor(line);
        ::fcntl(line, F_SETFL, O_NONBLOCK);
    }

    bool isRunning() const { return m_line.isOpen(); }
    int line() const { return m_line.get(); } ///< descriptor to poll for input

    /** Send bytes, but not before pppd has sent some, because it discards earlier input. */
    void send(const std::string &bytes)
    {
        m_early += bytes;
        if (m_ready)
            writeTerminal(m_line, std::exchange(m_early, {}));
    }

    /** @return available input; none when pppd has exited */
    std::string receive()
    {
        std::string bytes = readTerminal(m_line);
        m_ready = m_ready || !bytes.empty();
        send({});
        return bytes;
    }

    void kill() const { ::kill(m_pid, SIGKILL); }

    /** Wait until pppd has exited. @return its status, as of waitpid(2) */
    int finish()
    {
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        m_line.close();
        return status;
    }

private:
    void writeSecrets(const Scenario &scenario) const
    {
        for (const char *name : {"/ppp/pap-secrets", "/ppp/chap-secrets"}) {
            std::ofstream secrets(m_directory + name);
            if (!scenario.at("user").empty())
                secrets << std::quoted(scenario.at("user")) << " * "
                        << std::quoted(scenario.at("password")) << " *\n";
        }
    }

    std::string m_program;
    std::string m_directory;
    pid_t m_pid = -1;
    FileDescriptor m_line;
    std::string m_early;  ///< bytes that are not sent yet
    bool m_ready = false; ///< true when pppd has sent something
};

} // namespace modem
