// Command interpreter of the simulated dongle: a command line in, a reply out.
#pragma once

#include "simulator/programs/modem/atcommand.h"
#include "simulator/programs/modem/scenario.h"
#include "simulator/programs/modem/simcard.h"

#include <array>
#include <map>
#include <optional>
#include <string>

namespace modem
{

/** Result codes of ITU-T V.250, 5.7.1, with their numbers; DELAYED is a common addition. */
enum class ResultCode {
    Ok = 0,
    Connect = 1,
    NoCarrier = 3,
    Error = 4,
    NoDialtone = 6,
    Busy = 7,
    NoAnswer = 8,
    Delayed = 24,
};

/** Error numbers of 3GPP TS 27.007, 9.2. */
enum class EquipmentError {
    OperationNotAllowed = 3,
    SimNotInserted = 10,
    SimPinRequired = 11,
    SimPukRequired = 12,
    SimFailure = 13,
    IncorrectPassword = 16,
    IncorrectParameters = 50,
};

/** The data call that a dial command asked for. */
struct Call {
    std::string apn;        ///< APN of the PDP context that was dialled
    bool connected = false; ///< false: the reply says why not
};

/** The answer to one command line. */
struct Reply {
    std::string bytes;
    std::optional<Call> call; ///< set when the line dialled
};

/**
 * The modem from its power-on. Commands follow ITU-T V.250 and 3GPP TS 27.007; the answer to an
 * unknown one is ERROR.
 */
class Modem
{
public:
    Modem();

    /** Takes a scenario over. Another PIN, PUK or presence of the SIM puts another SIM in. */
    void setScenario(const Scenario &scenario);

    /** Back to the factory settings, without PDP contexts, the PIN not entered. */
    void powerOn();

    /** @param line a command line without its termination */
    Reply execute(const std::string &line);

    /** @return NO CARRIER in the current format, for a call that ended */
    std::string callEnded() const { return resultText(ResultCode::NoCarrier); }

    bool echoes() const { return m_profile.echo; }
    char terminator() const { return static_cast<char>(m_profile.registers[3]); }
    char backspace() const { return static_cast<char>(m_profile.registers[5]); }

private:
    /** The settings that ATZ and AT&F set back. */
    struct Profile {
        bool echo = false;
        bool quiet = false;
        bool verbose = true;
        int errorFormat = 0; ///< +CMEE
        std::array<int, 256> registers{};
    };

    /** How one command ended; the line goes on after Ok only. */
    struct Outcome {
        ResultCode code = ResultCode::Ok;
        std::optional<EquipmentError> error;
        bool endsLine = false;
    };

    /** The outcome of one line so far. */
    struct Line {
        std::string information; ///< formatted information texts
        std::optional<Call> call;
    };

    using Handler = Outcome (Modem::*)(const Command &, Line &);
    static const std::map<std::string, Handler> &handlers();
    static Outcome failure(EquipmentError error);
    static Outcome invalid() { return {ResultCode::Error, std::nullopt, false}; }
    static bool readNumber(const Command &command, int maximum, int &number);

    void resetProfile();
    Outcome run(const Command &command, Line &line);
    void inform(Line &line, const std::string &text) const;
    std::string resultText(ResultCode code) const;
    std::string finalText(const Outcome &outcome, bool connected) const;
    Outcome simOutcome(SimCard::Result result) const;
    std::optional<EquipmentError> simTrouble() const;

    Outcome accept(const Command &, Line &);
    Outcome setFlag(const Command &, Line &);
    Outcome reset(const Command &, Line &);
    Outcome identify(const Command &, Line &);
    Outcome dial(const Command &, Line &);
    Outcome sRegister(const Command &, Line &);
    Outcome errorFormat(const Command &, Line &);
    Outcome pin(const Command &, Line &);
    Outcome pinTries(const Command &, Line &);
    Outcome registration(const Command &, Line &);
    Outcome networkOperator(const Command &, Line &);
    Outcome signalQuality(const Command &, Line &);
    Outcome context(const Command &, Line &);

    Scenario m_scenario;
    SimCard m_sim;
    Profile m_profile;
    std::map<int, std::pair<std::string, std::string>> m_contexts; ///< id: type and APN
    std::string m_lastLine;
};

} // namespace modem
