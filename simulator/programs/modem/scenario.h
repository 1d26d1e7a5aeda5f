// What the simulated dongle and its network are told to do.
#pragma once

#include "simulator/programs/modem/simcard.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace modem
{

/** What the lines of a scenario file set; scenarioHelp() explains them. */
struct Scenario {
    enum class Answer { Normal, Silent, Echo, Slow, Pieces };
    enum class Dial { Connect, NoCarrier, Busy, Error, NoDialtone, NoAnswer, Delayed };
    enum class Auth { None, Pap, Chap };

    bool simPresent = true;
    std::string simPin; ///< empty: the SIM asks for none
    std::string simPuk = "12345678";
    int simTries = SimCard::MaxPinTries; ///< for the PIN that are left

    Answer answer = Answer::Normal;
    std::optional<std::chrono::milliseconds> delay; ///< before a slow reply, between pieces

    std::string refused; ///< name of the command, without AT, that is an error; empty: none

    Dial dial = Dial::Connect;
    std::chrono::milliseconds dialTime{0}; ///< from the dial command to its result
    std::string apn; ///< the only APN that the network accepts; empty accepts every one

    std::string signalQuality = "17,99"; ///< RSSI and bit error rate of +CSQ

    Auth auth = Auth::None; ///< how the network has the board prove itself
    std::string user;
    std::string password;
    std::string networkUser; ///< with which the network proves itself, if the board asks for it
    std::string networkPassword;
    bool ipcp = true; ///< whether the network hears the caller's requests for an IP address
    std::chrono::seconds dropAfter{0}; ///< the network ends a call after this time; 0 never
};

/**
 * @param text the content of a scenario file
 * @param faults gets one sentence for every line that is not understood; such a line changes
 *        nothing
 */
Scenario parseScenario(const std::string &text, std::vector<std::string> &faults);

/**
 * @return the scenario of a file, the default one when there is no such file
 * @param faults as parseScenario(); one sentence when the file cannot be read
 */
Scenario loadScenario(const std::string &path, std::vector<std::string> &faults);

/** @return what is wrong with a scenario file, in sentences; a missing file is wrong, too */
std::vector<std::string> checkScenario(const std::string &path);

/** @return the lines of the help that explain the keys of a scenario file */
std::string scenarioHelp();

} // namespace modem
