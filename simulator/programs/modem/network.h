// The network behind the dongle: a pppd for its end of the link.
#pragma once

#include "simulator/programs/modem/scenario.h"
#include "simulator/programs/modem/terminal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace modem
{

// With these options, pppd drops a caller that does not answer after about 12 s.
constexpr char LinkOptions[] =
    "115200 local nodetach 10.64.64.64:10.11.12.13 ms-dns 10.64.64.64 noipdefault nodefaultroute "
    "noipv6 noccp novj lcp-restart 2 lcp-max-configure 6 lcp-echo-interval 3 lcp-echo-failure 4 "
    "debug show-password";

inline std::vector<std::string> words(const std::string &text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

/** @return an error message with the cause in errno */
inline std::string message(const std::string &what)
{
    return what + ": " + std::strerror(errno);
}

/** Runs the network's pppd on a pseudo-terminal during a call. */
class Network
{
public:
    /** How a call ended. */
    struct End {
        bool callerLeft = false; ///< true when the caller hung up or stopped answering
        std::string text;        ///< exit status or signal of pppd, such as "exit 5" or "signal 9"
    };

    /**
     * @param program pppd under another name, so that "killall pppd" does not reach it
     * @param directory directory of its log and, in ppp, of its secrets
     */
    Network(const std::string &program, const std::string &directory)
        : m_program(program), m_directory(directory)
    {
    }

    /** Start a call. @return an error message, or an empty string */
    std::string start(const Scenario &scenario)
    {
        char device[64];
        m_line = openTerminal("/dev/ptmx");
        if (::unlockpt(m_line.get()) == -1 || ::ptsname_r(m_line.get(), device, sizeof device) != 0)
            return message("/dev/ptmx");
        m_farEnd = FileDescriptor(::open(device, O_RDWR | O_NOCTTY | O_CLOEXEC));
        m_early.clear();
        m_ready = false;
        writeSecrets(scenario);

        const std::string &method = scenario.at("auth");
        std::vector<std::string> arguments = words(LinkOptions);
        arguments.insert(arguments.begin(), {m_program, device});
        arguments.insert(arguments.end(),
                         {method == "none" ? "noauth" : "require-" + method, "logfile", logFile()});
        m_pid = startProgram(arguments);
        m_process = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, m_pid, 0)));
        return m_process.isOpen() ? std::string() : message("fork");
    }

    bool isRunning() const { return m_pid > 0; }
    pid_t pid() const { return m_pid; }
    int line() const { return m_line.get(); }       ///< descriptor to poll for input
    int process() const { return m_process.get(); } ///< descriptor to poll for the exit of pppd

    /** Send bytes, but not before pppd has sent some, because it discards earlier input. */
    void send(const std::string &bytes)
    {
        m_early += bytes;
        if (m_ready)
            writeTerminal(m_line, std::exchange(m_early, {}));
    }

    std::string receive()
    {
        std::string bytes = readTerminal(m_line);
        m_ready = m_ready || !bytes.empty();
        send({});
        return bytes;
    }

    void kill() const { ::kill(m_pid, SIGKILL); }

    /** Wait until pppd has exited. @return its exit status or signal */
    End finish()
    {
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        m_pid = -1;
        m_process.close();
        m_farEnd.close();
        m_line.close();
        if (WIFSIGNALED(status))
            return {false, "signal " + std::to_string(WTERMSIG(status))};
        const int code = WEXITSTATUS(status);
        // pppd(8), EXIT STATUS: negotiation failed, no reply to echo requests, modem hung up.
        return {code == 10 || code == 15 || code == 16, "exit " + std::to_string(code)};
    }

private:
    std::string logFile() const { return m_directory + "/network.log"; }

    void writeSecrets(const Scenario &scenario) const
    {
        for (const char *name : {"/ppp/pap-secrets", "/ppp/chap-secrets"}) {
            std::ofstream secrets(m_directory + name);
            if (!scenario.at("user").empty())
                secrets << std::quoted(scenario.at("user")) << " * "
                        << std::quoted(scenario.at("password")) << " *\n";
        }
    }

    /**
     * Start a program that is killed when this process exits.
     * @return process ID, or -1 with errno
     */
    pid_t startProgram(const std::vector<std::string> &arguments) const
    {
        std::vector<char *> argv(arguments.size() + 1); // the last one stays null
        std::transform(arguments.begin(), arguments.end(), argv.begin(),
                       [](const std::string &text) { return const_cast<char *>(text.c_str()); });
        const pid_t parent = ::getpid();
        const pid_t child = ::fork();
        if (child != 0)
            return child;
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int in = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        const int out = ::open(logFile().c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
        if (::getppid() == parent && ::dup2(in, STDIN_FILENO) != -1 &&
            ::dup2(out, STDOUT_FILENO) != -1 && ::dup2(out, STDERR_FILENO) != -1)
            ::execvp(argv[0], argv.data());
        ::_exit(127);
    }

    std::string m_program;
    std::string m_directory;
    pid_t m_pid = -1;
    FileDescriptor m_process;
    FileDescriptor m_line;
    FileDescriptor m_farEnd; ///< far end of the line; kept open so that the line does not hang up
    std::string m_early;     ///< bytes that are not sent yet
    bool m_ready = false;    ///< true when pppd has sent something
};

} // namespace modem
