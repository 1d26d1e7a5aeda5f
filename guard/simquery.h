// What the SIM asks for, as AT+CPIN? tells it (3GPP TS 27.007, 8.3), and whether to dial then.
#pragma once

#include <string>

namespace guard
{

/** What AT+CPIN? tells. Unknown: silence, an error, a state that is none of the others. */
enum class SimState { Unknown, Ready, Pin, Puk };

/** Decision before a dial. */
enum class Verdict {
    Dial,
    DialAndForget,   ///< the PIN worked: nothing is remembered
    DialAndRemember, ///< the chat script spends a try of the PIN
    RefusePuk,
    RefusePin, ///< the PIN was sent once and is still asked for
};

/**
 * Decide whether to dial.
 * @param scriptSendsPin true when the chat script holds AT+CPIN=
 * @param pinWasSent true when this pppd has sent the PIN, which has not been seen to work since
 */
Verdict decide(SimState state, bool scriptSendsPin, bool pinWasSent);

/** Parser of the modem's answer, fed in pieces. Echo, unsolicited lines and garbage pass. */
class SimAnswer
{
public:
    /** Longest line that is kept, in bytes; the rest of a longer one is dropped. */
    static constexpr std::size_t MaxLine = 128;

    void feed(const char *bytes, std::size_t size);

    /** @return true after +CPIN: and its OK, or after an error; a lone OK is an earlier command's
     */
    bool isComplete() const { return m_complete; }

    /** @return Unknown until isComplete(), and after an error */
    SimState state() const { return m_complete ? m_state : SimState::Unknown; }

private:
    void take(const std::string &line);

    std::string m_line;
    SimState m_state = SimState::Unknown;
    bool m_told = false; ///< +CPIN: was read
    bool m_complete = false;
};

} // namespace guard
