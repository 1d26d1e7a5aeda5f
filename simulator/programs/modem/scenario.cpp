#include "simulator/programs/modem/scenario.h"

#include "simulator/programs/common/scenariofile.h"

#include <cerrno>
#include <cstring>

namespace modem
{
namespace
{

constexpr int LongestTime = 9999999; // in the unit of its key

/** A code of the SIM. @param fits says whether a text is such a code */
common::Value simCode(const char *allowed, bool (*fits)(const std::string &), std::string &target)
{
    return {"DIGITS", allowed, [fits, &target](const std::string &text) {
                if (fits(text))
                    target = text;
                return fits(text);
            }};
}

bool isPinOrNone(const std::string &text)
{
    return text.empty() || SimCard::isPin(text);
}

std::vector<common::Setting> simKeys(Scenario &s)
{
    return {
        {"sim.present", common::oneOf({{"yes", true}, {"no", false}}, s.simPresent),
         "a dongle without SIM answers +CME ERROR: 10"},
        {"sim.pin", simCode("4 to 8 digits, or empty", isPinOrNone, s.simPin),
         "PIN that the SIM asks for; empty asks for none"},
        {"sim.puk", simCode("8 digits", SimCard::isPuk, s.simPuk),
         "PUK (12345678); another PIN, PUK or number of tries is another SIM"},
        {"sim.tries", common::number<int>("N", 0, SimCard::MaxPinTries, s.simTries),
         "tries left for the PIN (3); 0: the PUK is asked for"},
    };
}

std::vector<common::Setting> modemKeys(Scenario &s)
{
    using common::anyText, common::number, common::oneOf;
    using Answer = Scenario::Answer;
    using Dial = Scenario::Dial;
    using Milliseconds = std::chrono::milliseconds;
    return {
        {"answer",
         oneOf({{"normal", Answer::Normal},
                {"silent", Answer::Silent},
                {"echo", Answer::Echo},
                {"slow", Answer::Slow},
                {"pieces", Answer::Pieces}},
               s.answer),
         "silent: no reply; echo: as ATE1, also after a reset;\n"
         "slow: every reply late; pieces: of 1 to 3 bytes"},
        {"delay_ms", number<Milliseconds>("N", 0, LongestTime, s.delay),
         "before a slow reply (1000), between pieces (20)"},
        {"refused", anyText("COMMAND", s.refused),
         "command that is answered ERROR: Z, E, +CPIN, +CGDCONT (none)"},
        {"dial",
         oneOf({{"connect", Dial::Connect},
                {"no-carrier", Dial::NoCarrier},
                {"busy", Dial::Busy},
                {"error", Dial::Error},
                {"no-dialtone", Dial::NoDialtone},
                {"no-answer", Dial::NoAnswer},
                {"delayed", Dial::Delayed}},
               s.dial),
         "result of the dial command"},
        {"dial_ms", number<Milliseconds>("N", 0, LongestTime, s.dialTime),
         "from the dial command to its result (0)"},
        {"csq", anyText("RSSI,BER", s.signalQuality), "signal quality (17,99)"},
    };
}

std::vector<common::Setting> networkKeys(Scenario &s)
{
    using common::anyText, common::number, common::oneOf;
    using Auth = Scenario::Auth;
    return {
        {"apn", anyText("NAME", s.apn), "the only APN that is let in (any); others: NO CARRIER"},
        {"auth", oneOf({{"none", Auth::None}, {"pap", Auth::Pap}, {"chap", Auth::Chap}}, s.auth),
         "how the network has its caller prove itself"},
        {"user", anyText("NAME", s.user), "whom the network accepts then"},
        {"password", anyText("TEXT", s.password), "with which password"},
        {"network.user", anyText("NAME", s.networkUser),
         "how the network proves itself to a caller that asks"},
        {"network.password", anyText("TEXT", s.networkPassword), "with which password"},
        {"ipcp", oneOf({{"yes", true}, {"no", false}}, s.ipcp),
         "no: the caller's IPCP packets are lost"},
        {"drop_after_s", number<std::chrono::seconds>("N", 0, LongestTime, s.dropAfter),
         "the network ends a call after N seconds (0: never)"},
    };
}

std::vector<common::Setting> keys(Scenario &scenario)
{
    std::vector<common::Setting> all;
    for (const auto &group : {simKeys(scenario), modemKeys(scenario), networkKeys(scenario)})
        all.insert(all.end(), group.begin(), group.end());
    return all;
}

std::string unreadable(const std::string &path, int error)
{
    return path + ": " + std::strerror(error);
}

} // namespace

Scenario parseScenario(const std::string &text, std::vector<std::string> &faults)
{
    Scenario scenario;
    faults = common::applyScenario(text, keys(scenario));
    return scenario;
}

Scenario loadScenario(const std::string &path, std::vector<std::string> &faults)
{
    std::string text;
    const int error = common::readScenarioFile(path, text);
    if (error == 0)
        return parseScenario(text, faults);
    if (error != ENOENT)
        faults = {unreadable(path, error)};
    return {};
}

std::vector<std::string> checkScenario(const std::string &path)
{
    std::string text;
    std::vector<std::string> faults;
    if (const int error = common::readScenarioFile(path, text))
        return {unreadable(path, error)};
    parseScenario(text, faults);
    return faults;
}

std::string scenarioHelp()
{
    Scenario scenario;
    return common::scenarioHelp(keys(scenario));
}

} // namespace modem
