// The modem's command interpreter.
#pragma once

#include "simulator/programs/modem/scenario.h"

#include <algorithm>
#include <string>
#include <utility>

namespace modem
{

struct Reply {
    std::string text;       ///< information text and result code; empty if there is no reply
    bool dialled = false;   ///< true when the command line dialled and the SIM card is ready
    bool connected = false; ///< true when a call begins after the reply
};

inline std::string onLine(const std::string &text)
{
    return "\r\n" + text + "\r\n";
}

inline Reply result(bool ok)
{
    return {onLine(ok ? "OK" : "ERROR")};
}

inline Reply information(const std::string &text)
{
    return {onLine(text) + onLine("OK")};
}

inline std::string withoutLastQuote(const std::string &text)
{
    return !text.empty() && text.back() == '"' ? text.substr(0, text.size() - 1) : text;
}

/** The modem and its SIM card, with one PDP context and the commands that this system uses. */
class Modem
{
public:
    /** Set the behaviour. If the value of a sim key changes, a new SIM card is inserted. */
    void setScenario(const Scenario &scenario)
    {
        const std::string sim =
            scenario.at("sim.present") + scenario.at("sim.pin") + scenario.at("sim.tries");
        m_scenario = scenario;
        if (std::exchange(m_sim, sim) != sim) {
            m_tries = std::stoi(scenario.at("sim.tries"));
            m_verified = false;
        }
    }

    /** Reset the APN and the verification of the PIN, but not the number of PIN attempts left. */
    void powerOn()
    {
        m_verified = false;
        m_apn.clear();
    }

    /** Run a command line. @param line command line without its carriage return */
    Reply execute(const std::string &line)
    {
        const std::size_t prefix = line.find("AT");
        if (prefix == std::string::npos)
            return {};
        const std::string command = line.substr(prefix + 2);
        const std::size_t length = command[0] == '+' ? command.find_first_of("=?") : 1;
        const std::string name = command.substr(0, length);
        const std::string argument = command.substr(std::min(length, command.size()));
        if (name.empty())
            return result(true);
        return name == m_scenario.at("refused") ? result(false) : run(name, argument);
    }

private:
    Reply run(const std::string &name, const std::string &argument)
    {
        if (name == "D")
            return dial(withoutLastQuote(argument));
        if (name == "I")
            return information("Corvanta dongle simulator\r\nIMEI: 490154203237518");
        if (name == "+CPIN")
            return pin(argument);
        if (name == "+CGDCONT")
            return setContext(argument);
        if (name == "+CSQ")
            return information("+CSQ: 17,99");
        if ((name == "+CREG" || name == "+CGREG") && argument == "?")
            return information(name + (simState() == "READY" ? ": 0,1" : ": 0,2"));
        if (name == "+COPS" && simState() == "READY")
            return information("+COPS: 0,0,\"Testnet\",2");
        return result(name == "Z");
    }

    /** @return the state in the reply to +CPIN?; empty without a SIM card */
    std::string simState() const
    {
        if (m_scenario.at("sim.present") == "no")
            return {};
        if (m_tries == 0)
            return "SIM PUK";
        return m_scenario.at("sim.pin").empty() || m_verified ? "READY" : "SIM PIN";
    }

    Reply pin(const std::string &argument)
    {
        const std::string state = simState();
        if (argument == "?" && !state.empty())
            return information("+CPIN: " + state);
        if (state != "SIM PIN")
            return result(false);
        m_verified = argument == "=\"" + m_scenario.at("sim.pin") + '"';
        m_tries = m_verified ? MaxTries : m_tries - 1;
        return result(m_verified);
    }

    Reply setContext(const std::string &argument)
    {
        const std::string begin = "=1,\"IP\",\"";
        if (argument.compare(0, begin.size(), begin) != 0)
            return result(false);
        m_apn = withoutLastQuote(argument.substr(begin.size()));
        return result(true);
    }

    Reply dial(const std::string &number) const
    {
        if (simState() != "READY")
            return result(false);
        if (m_scenario.at("dial") == "busy")
            return {onLine("BUSY"), true};
        const std::string &apn = m_scenario.at("apn");
        const bool isAccepted =
            (number == "*99#" || number == "*99***1#") && (apn.empty() || apn == m_apn);
        return {onLine(isAccepted ? "CONNECT 3600000" : "NO CARRIER"), true, isAccepted};
    }

    static constexpr int MaxTries = 3;

    Scenario m_scenario;
    std::string m_sim; ///< values of the sim keys
    int m_tries = 0;   ///< PIN attempts left
    bool m_verified = false;
    std::string m_apn;
};

} // namespace modem
