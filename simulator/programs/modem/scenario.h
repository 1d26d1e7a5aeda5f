// The behaviour of the dongle and its network: lines of KEY=VALUE in a file.
#pragma once

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>

namespace modem
{

/** The values of all ScenarioKeys. */
using Scenario = std::map<std::string, std::string>;

struct ScenarioKey {
    const char *name;
    const char *usual;  ///< default
    const char *values; ///< regular expression
    const char *help;
};

constexpr ScenarioKey ScenarioKeys[] = {
    {"sim.present", "yes", "yes|no", "no: SIM commands and dial commands fail"},
    {"sim.pin", "", "[0-9]*", "PIN of the SIM card; empty: no PIN"},
    {"sim.tries", "3", "[0-3]", "PIN attempts left; 0: the SIM card requires its PUK"},
    {"answer", "normal", "normal|silent|echo|slow|pieces",
     "replies; echo: echo commands; pieces: byte by byte"},
    {"delay_ms", "1000", "[0-9]{1,5}", "delay of each slow reply"},
    {"refused", "", ".*", "command that is answered with ERROR, such as Z or +CGDCONT"},
    {"dial", "connect", "connect|busy", "result of the dial command"},
    {"dial_ms", "0", "[0-9]{1,5}", "delay of the dial result"},
    {"apn", "", ".*", "accepted APN; empty: any"},
    {"auth", "none", "none|pap|chap", "authentication that the network requires"},
    {"user", "", ".*", "accepted user name"},
    {"password", "", ".*", "its password"},
    {"ipcp", "yes", "yes|no", "no: the caller's IPCP packets are lost"},
};

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
        const auto key = std::find_if(
            std::begin(ScenarioKeys), std::end(ScenarioKeys),
            [&](const ScenarioKey &known) { return line.substr(0, equals) == known.name; });
        if (key == std::end(ScenarioKeys) || equals == std::string::npos)
            return "\"" + line + "\": no such key (modemsim --help lists them)";
        const std::string value = line.substr(equals + 1);
        if (!std::regex_match(value, std::regex(key->values)))
            return "\"" + line + "\": the value must match " + key->values;
        scenario[key->name] = value;
    }
    return {};
}

} // namespace modem
