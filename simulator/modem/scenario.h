// What the simulated stick and its network are told to do.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace modem
{

/**
 * A scenario file has one key=value a line; blanks around both are dropped, empty lines and lines
 * that begin with # are skipped. scenarioHelp() lists the keys. It is read again at every command
 * line and at every dialling: replace it by a rename to change it while the stick runs.
 */
struct Scenario {
    enum class Answer { Normal, Silent, Echo, Slow, Pieces };
    enum class Dial { Connect, NoCarrier, Busy, Error, NoDialtone, NoAnswer, Delayed };
    enum class Auth { None, Pap, Chap };

    bool simPresent = true;
    std::string simPin;
    std::string simPuk = "12345678";

    Answer answer = Answer::Normal;
    std::optional<std::chrono::milliseconds> delay; ///< before a slow reply, between pieces

    Dial dial = Dial::Connect;
    std::chrono::milliseconds dialTime{0}; ///< from the dial command to its result
    std::string connectSpeed = "3600000";
    std::string apn; ///< the only APN that the network accepts; empty accepts every one

    std::string signalQuality = "17,99"; ///< rssi and bit error rate of +CSQ
    std::optional<std::string> csqReply; ///< raw bytes sent instead of the whole +CSQ reply
    std::string operatorName = "Testnet";
    std::string operatorNumber = "00101";

    Auth auth = Auth::None; ///< how the network has the panel prove itself
    std::string user;
    std::string password;
    std::string networkUser; ///< with which the network proves itself, if the panel asks for it
    std::string networkPassword;
    std::chrono::seconds dropAfter{0}; ///< the network ends a call after this time; 0 never
};

/**
 * @param text the whole content of a scenario file.
 * @param faults gets one line of English for every line that is not understood; such a line
 * changes nothing.
 */
Scenario parseScenario(const std::string &text, std::vector<std::string> &faults);

/**
 * Reads a scenario file of at most 64 KiB. A file that is missing, or is no regular file, gives the
 * defaults; the latter also a fault.
 */
Scenario loadScenario(const std::string &path, std::vector<std::string> &faults);

/** @return one line for every key, for --help. */
const char *scenarioHelp();

} // namespace modem
