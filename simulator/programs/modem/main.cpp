// modemsim: simulates the dongle (a USB modem stick) on a serial line, and the network behind it.
//
// When the dongle is unplugged, the line hangs up. This ends the call and resets the modem, which
// waits until the line can be opened again.
//
// PORT is the serial line. DIRECTORY has the files scenario, modem.log and network.log; its
// subdirectory ppp has the secrets of the network, which runs NETWORK, its pppd, in namespaces
// where these secrets are in /etc/ppp. modem.log has command lines and replies in double quotes:
//
//     12.345 heard "AT+CSQ"
//     12.346 reply "\r\n+CSQ: 17,99\r\n\r\nOK\r\n"
//     13.000 event connected
#include "simulator/programs/modem/modem.h"
#include "simulator/programs/modem/network.h"
#include "simulator/programs/modem/scenario.h"
#include "simulator/programs/modem/terminal.h"

#include <chrono>
#include <cstdio>
#include <iterator>
#include <poll.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds ReopenPause{200};
constexpr milliseconds BytePause{10}; // after each byte (answer=pieces)
constexpr char FrameFlag = 0x7e;
constexpr char Ipcp[] = "\x80\x21"; // protocol number; PPP frames never escape these bytes

constexpr char Usage[] =
    "Usage: modemsim PORT DIRECTORY NETWORK\n"
    "       modemsim --check-scenario FILE\n"
    "Simulate the dongle (a USB modem) on a serial line, and the network behind it.\n"
    "A scenario has lines of KEY=VALUE. The keys, with their values and (defaults):\n";

std::string quoted(const std::string &line)
{
    std::string text;
    for (const char byte : line) {
        if (byte == '\r' || byte == '\n')
            text += byte == '\r' ? "\\r" : "\\n";
        else
            text += (byte == '"' || byte == '\\' ? "\\" : "") + std::string(1, byte);
    }
    return '"' + text + '"';
}

class Dongle
{
public:
    Dongle(const std::string &port, const std::string &directory, modem::Network &network)
        : m_path(port), m_scenarioPath(directory + "/scenario"),
          m_log(std::fopen((directory + "/modem.log").c_str(), "ae")), m_network(network)
    {
    }

    /** Serve the line until the process is killed. */
    [[noreturn]] void run()
    {
        for (;;) {
            if (!m_port.isOpen())
                awaitPort();
            pollfd entries[] = {{m_port.get(), POLLIN, 0}, {m_network.line(), POLLIN, 0}};
            ::poll(entries, std::size(entries), -1);
            if (entries[1].revents != 0)
                hearNetwork();
            if ((entries[0].revents & (POLLHUP | POLLERR)) != 0)
                losePort();
            else if (entries[0].revents != 0)
                receive(modem::readTerminal(m_port));
        }
    }

private:
    void log(const std::string &text)
    {
        const std::chrono::duration<double> age = Clock::now() - m_start;
        std::fprintf(m_log, "%.3f %s\n", age.count(), text.c_str());
        std::fflush(m_log);
    }

    void awaitPort()
    {
        while (!(m_port = modem::openTerminal(m_path)).isOpen())
            std::this_thread::sleep_for(ReopenPause);
        log("event line open");
    }

    void losePort()
    {
        log("event line lost");
        m_port.close();
        m_modem.powerOn();
        m_typed.clear();
        endCall();
    }

    void receive(const std::string &bytes)
    {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            if (m_network.isRunning())
                return relay(bytes.substr(i));
            if (bytes[i] == '\r')
                execute(std::exchange(m_typed, {}));
            else
                m_typed += bytes[i];
        }
    }

    void execute(const std::string &line)
    {
        log("heard " + quoted(line));
        modem::readScenario(m_scenarioPath, m_scenario);
        m_modem.setScenario(m_scenario);
        if (m_scenario["answer"] == "silent")
            return;
        if (m_scenario["answer"] == "echo")
            modem::writeTerminal(m_port, line + '\r');
        const modem::Reply reply = m_modem.execute(line);
        if (reply.dialled) {
            log(reply.connected ? "event connected" : "event refused");
            std::this_thread::sleep_for(milliseconds(std::stoi(m_scenario["dial_ms"])));
        }
        if (!reply.text.empty())
            say(reply.text);
        if (reply.connected) {
            m_network.start(m_scenario);
            log("event network started");
        }
    }

    void say(const std::string &text)
    {
        log("reply " + quoted(text));
        if (m_scenario["answer"] == "slow")
            std::this_thread::sleep_for(milliseconds(std::stoi(m_scenario["delay_ms"])));
        if (m_scenario["answer"] != "pieces")
            return modem::writeTerminal(m_port, text);
        for (const char byte : text) {
            modem::writeTerminal(m_port, {byte});
            std::this_thread::sleep_for(BytePause);
        }
    }

    /** Forward the network's bytes to the caller. If the network has hung up, end the call. */
    void hearNetwork()
    {
        const std::string bytes = m_network.receive();
        if (!bytes.empty())
            return modem::writeTerminal(m_port, bytes);
        const int status = finishCall();
        // pppd(8), EXIT STATUS: negotiation failed, no reply to echo requests, modem hung up.
        if (status != 10 && status != 15 && status != 16)
            say("\r\nNO CARRIER\r\n");
    }

    /** Forward a caller's bytes to the network. A command line among them ends the call. */
    void relay(const std::string &bytes)
    {
        m_typed += bytes;
        const std::size_t flag = m_typed.rfind(FrameFlag);
        if (flag != std::string::npos)
            m_typed.erase(0, flag + 1);
        // The line has no DTR signal, so the exit of a killed pppd is detected only by the next
        // command line. No PPP frame starts like a command line.
        const std::size_t begin = m_typed.find_first_not_of("\r\"");
        if (begin != std::string::npos && m_typed.compare(begin, 2, "AT") == 0) {
            log("event caller starts over");
            const std::string typed = m_typed;
            endCall();
            return receive(typed);
        }
        if (m_scenario["ipcp"] == "yes" || bytes.find(Ipcp) == std::string::npos)
            m_network.send(bytes);
    }

    void endCall()
    {
        if (!m_network.isRunning())
            return;
        m_network.kill();
        finishCall();
    }

    /** @return exit status of the network's pppd, or 0 if a signal has killed it */
    int finishCall()
    {
        const int status = m_network.finish();
        log("event network ended, status " + std::to_string(status >> 8) + ", signal " +
            std::to_string(status & 0x7f));
        m_typed.clear();
        return WEXITSTATUS(status);
    }

    std::string m_path;
    std::string m_scenarioPath;
    std::FILE *m_log;
    modem::Network &m_network;
    FileDescriptor m_port;
    modem::Modem m_modem;
    modem::Scenario m_scenario;
    std::string m_typed; ///< start of a command line; during a call, bytes that may be one
    Clock::time_point m_start = Clock::now();
};

/** @return exit status of the program */
int help(int status)
{
    std::fputs(Usage, stdout);
    for (const modem::ScenarioKey &key : modem::ScenarioKeys)
        std::printf("  %s=%s (%s): %s\n", key.name, key.values, key.usual, key.help);
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() == 2 && words[0] == "--check-scenario") {
        modem::Scenario scenario;
        const std::string error = modem::readScenario(words[1], scenario);
        std::fputs(error.c_str(), stdout);
        return error.empty() ? 0 : 1;
    }
    if (words.size() != 3)
        return help(argc == 2 && words[0] == "--help" ? 0 : 2);
    modem::Network network(words[2], words[1]);
    Dongle(words[0], words[1], network).run();
}
