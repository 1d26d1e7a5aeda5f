// Parses the response to AT+CPIN? (3GPP TS 27.007, clause 8.3) and decides whether to dial.
#pragma once

#include <string>

namespace guard
{

/** State of the SIM. Unknown: no response, an error or any other state. */
enum class SimState { Unknown, Ready, Pin, Puk };

/** Decision before a dial. */
enum class Verdict {
    Dial,
    DialAndDelete, ///< the PIN was accepted: delete the record that it was sent
    DialAndRecord, ///< the chat script sends the PIN, which may be wrong: record that it was sent
    RefusePuk,
    RefusePin, ///< the PIN was sent once and the SIM still requires it
};

/**
 * Decide whether to dial.
 * @param scriptSendsPin true when the chat script contains AT+CPIN=
 * @param pinWasSent true when this pppd has sent the PIN and it has not been accepted since
 */
Verdict decide(SimState state, bool scriptSendsPin, bool pinWasSent);

/** Incremental parser of the modem's response. Skips echo, unsolicited lines and garbage. */
class SimAnswer
{
public:
    /** Maximum line length in bytes; the rest of a longer line is dropped. */
    static constexpr std::size_t MaxLine = 128;

    void feed(const char *bytes, std::size_t size);

    /** @return true after +CPIN: and OK, or after an error. An OK before +CPIN: belongs to an
     *          earlier command. */
    bool isComplete() const { return m_complete; }

    /** @return Unknown until isComplete(), and after an error */
    SimState state() const { return m_complete ? m_state : SimState::Unknown; }

private:
    void parseLine(const std::string &line);

    std::string m_line;
    SimState m_state = SimState::Unknown;
    bool m_stateRead = false; ///< +CPIN: has been read
    bool m_complete = false;
};

} // namespace guard
