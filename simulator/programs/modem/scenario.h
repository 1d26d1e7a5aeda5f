// The behaviour of the dongle and its network: lines of KEY=VALUE in a file.
#pragma once

#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

namespace modem
{

/** The values of all ScenarioKeys. */
using Scenario = std::map<std::string, std::string>;

struct ScenarioKey {
    const char *name;
    const char *usual;  ///< default
    const char *values; ///< DIGITS, TEXT or words separated by |
    const char *help;
};

constexpr ScenarioKey ScenarioKeys[] = {
    {"sim.present", "yes", "yes|no", "no: SIM commands and dial commands fail"},
    {"sim.pin", "", "DIGITS", "PIN of the SIM card; empty: no PIN"},
    {"sim.tries", "3", "0|1|2|3", "PIN attempts left; 0: the SIM card requires its PUK"},
    {"answer", "normal", "normal|silent|echo|slow|pieces",
     "replies; echo: echo commands; pieces: byte by byte"},
    {"delay_ms", "1000", "DIGITS", "delay of each slow reply"},
    {"refused", "", "TEXT", "command that is answered with ERROR: Z, I, +CPIN"},
    {"dial", "connect", "connect|busy", "result of the dial command"},
    {"dial_ms", "0", "DIGITS", "delay of the dial result"},
    {"registration", "home", "home|denied", "reply to +CREG? and +CGREG?"},
    {"csq", "17,99", "TEXT", "RSSI and bit error rate"},
    {"apn", "", "TEXT", "accepted APN; empty: any"},
    {"auth", "none", "none|pap|chap", "authentication that the network requires"},
    {"user", "", "TEXT", "accepted user name"},
    {"password", "", "TEXT", "its password"},
    {"ipcp", "yes", "yes|no", "no: the caller's IPCP packets are lost"},
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
 * Read a scenario file. Keys that are not in it, or all if there is no file, get their defaults.
 * @return an error message about the first invalid line, or an empty string; the lines after an
 *         invalid one are ignored
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

/** @return the value of a key as a number; 0 if it is empty */
inline int number(const Scenario &scenario, const std::string &key)
{
    return std::atoi(scenario.at(key).c_str());
}

} // namespace modem
