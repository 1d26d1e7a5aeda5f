// The behaviour of the dongle and its network: lines of KEY=VALUE in a file.
#pragma once

#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

namespace modem
{

/** A value for each of ScenarioKeys. */
using Scenario = std::map<std::string, std::string>;

struct ScenarioKey {
    const char *name;
    const char *usual;
    const char *values; ///< DIGITS, TEXT or words separated by |
    const char *help;
};

constexpr ScenarioKey ScenarioKeys[] = {
    {"sim.present", "yes", "yes|no", "no: SIM commands and dial command fail"},
    {"sim.pin", "", "DIGITS", "PIN of the SIM; empty: it has none"},
    {"sim.tries", "3", "0|1|2|3", "attempts left for the PIN; 0: the SIM requires its PUK"},
    {"answer", "normal", "normal|silent|echo|slow|pieces", "pieces: byte by byte"},
    {"delay_ms", "1000", "DIGITS", "delay of each slow reply"},
    {"refused", "", "TEXT", "command that is answered with ERROR: Z, I, +CPIN"},
    {"dial", "connect", "connect|no-carrier|busy|error", "result of the dial command"},
    {"dial_ms", "0", "DIGITS", "delay of that result"},
    {"registration", "home", "home|roaming|searching|denied", "reply to +CREG? and +CGREG?"},
    {"csq", "17,99", "TEXT", "RSSI and bit error rate"},
    {"apn", "", "TEXT", "the only APN that is accepted; empty: any"},
    {"auth", "none", "none|pap|chap", "authentication that the network requires"},
    {"user", "", "TEXT", "user name that is accepted"},
    {"password", "", "TEXT", "its password"},
    {"network.user", "", "TEXT", "user name with which the network authenticates itself"},
    {"network.password", "", "TEXT", "its password"},
    {"ipcp", "yes", "yes|no", "no: the caller's IPCP packets are lost"},
    {"drop_after_s", "0", "DIGITS", "time until the network ends a link; 0: never"},
};

inline const ScenarioKey *findKey(const std::string &name)
{
    for (const ScenarioKey &key : ScenarioKeys) {
        if (key.name == name)
            return &key;
    }
    return nullptr;
}

inline bool isValid(const std::string &value, const std::string &values)
{
    constexpr std::size_t MaxDigits = 8;
    if (values == "DIGITS")
        return value.size() <= MaxDigits &&
               value.find_first_not_of("0123456789") == std::string::npos;
    return values == "TEXT" || ('|' + values + '|').find('|' + value + '|') != std::string::npos;
}

/**
 * Reads a scenario file. Keys that are not in it get their defaults; without a file all keys do.
 * @return an error message about the first invalid line, after which the rest is ignored, or an
 *         empty string
 */
inline std::string readScenario(const std::string &path, Scenario &scenario)
{
    for (const ScenarioKey &key : ScenarioKeys)
        scenario[key.name] = key.usual;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const std::size_t equals = line.find('=');
        const std::string name = line.substr(0, equals);
        const ScenarioKey *key = findKey(name);
        if (line.empty())
            continue;
        if (key == nullptr || equals == std::string::npos)
            return "\"" + line + "\": no such key (modemsim --help lists them)";
        scenario[name] = line.substr(equals + 1);
        if (!isValid(scenario[name], key->values))
            return "\"" + line + "\": the value must be " + key->values;
    }
    return {};
}

/** @return a number of the scenario; 0 if it is empty */
inline int number(const Scenario &scenario, const std::string &key)
{
    return std::atoi(scenario.at(key).c_str());
}

} // namespace modem
