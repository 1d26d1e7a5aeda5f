// Takes command lines apart (ITU-T V.250, 5.2 to 5.4; dial strings: 3GPP TS 27.007).
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace modem
{

/** One command of a command line. */
struct Command {
    enum class Operation {
        Execute, ///< ATZ, AT+CSQ
        Set,     ///< ATE0, AT+CMEE=1, ATS0=1
        Read,    ///< AT+CPIN?, ATS0?
        Test,    ///< AT+COPS=?
        Invalid, ///< not a command of any kind known here
    };

    std::string name; ///< upper case: "Z", "&F", "S3", "+CPIN", "D"
    Operation operation = Operation::Execute;
    std::string value; ///< what is set, as sent; the dial string of "D"
};

/** What a dial string of a packet call asks for. */
struct PacketCall {
    int contextId = 1; ///< PDP context, 1 to 16
};

/** @return what follows the first AT or at of a line, or nothing when the line has neither */
std::optional<std::string> commandBody(const std::string &line);

/**
 * Takes the text after the prefix apart. Blanks outside quotes are ignored.
 * @return the commands in order; from the first part that is no command on, one Invalid command
 */
std::vector<Command> parseCommands(const std::string &body);

/** @return the comma-separated arguments of an extended command, without their quotes */
std::vector<std::string> splitArguments(const std::string &value);

/**
 * @param dialString what follows ATD: "*99#", "T*99***1#", with or without quotes
 * @return the packet call, or nothing when the string is another number
 */
std::optional<PacketCall> parsePacketCall(const std::string &dialString);

} // namespace modem
