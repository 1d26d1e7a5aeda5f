#include "app/guard/simquery.h"

namespace guard
{

namespace
{

bool startsWith(const std::string &text, const char *start)
{
    return text.rfind(start, 0) == 0;
}

SimState stateOf(const std::string &code)
{
    // Match every PIN and PUK, such as "SIM PUK2" or "PH-NET PIN": PIN2 and the device and network
    // locks count attempts, too.
    if (code.find("PUK") != std::string::npos)
        return SimState::Puk;
    if (code.find("PIN") != std::string::npos)
        return SimState::Pin;
    return code.find("READY") != std::string::npos ? SimState::Ready : SimState::Unknown;
}

} // namespace

Verdict decide(SimState state, bool scriptSendsPin, bool pinWasSent)
{
    switch (state) {
    case SimState::Puk:
        return Verdict::RefusePuk;
    case SimState::Ready:
        return Verdict::DialAndDelete;
    case SimState::Pin:
        if (!scriptSendsPin)
            return Verdict::Dial;
        return pinWasSent ? Verdict::RefusePin : Verdict::DialAndRecord;
    case SimState::Unknown:
        break;
    }
    return Verdict::Dial;
}

void SimAnswer::feed(const char *bytes, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i) {
        if (bytes[i] == '\r' || bytes[i] == '\n') {
            parseLine(m_line);
            m_line.clear();
        } else if (m_line.size() < MaxLine) {
            m_line += bytes[i];
        }
    }
}

void SimAnswer::parseLine(const std::string &line)
{
    if (m_complete)
        return;
    if (startsWith(line, "+CPIN:")) {
        m_state = stateOf(line.substr(line.find(':')));
        m_stateRead = true;
    } else if (line == "OK") {
        m_complete = m_stateRead;
    } else if (line == "ERROR" || startsWith(line, "+CME ERROR:") ||
               startsWith(line, "+CMS ERROR:")) {
        m_state = SimState::Unknown;
        m_complete = true;
    }
}

} // namespace guard
