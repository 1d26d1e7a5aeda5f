#include "simulator/programs/modem/atline.h"

#include "simulator/programs/modem/atcommand.h"

namespace modem
{

void LineAssembler::setControls(char terminator, char backspace)
{
    m_terminator = terminator;
    m_backspace = backspace;
}

std::optional<std::string> LineAssembler::feed(char byte)
{
    if (byte == m_terminator) {
        std::string line;
        if (!m_overflown)
            line.swap(m_line);
        reset();
        return line;
    }
    if (byte == '\n' || byte == '\0' || m_overflown)
        return std::nullopt;
    if (byte == m_backspace) {
        if (!m_line.empty())
            m_line.pop_back();
        return std::nullopt;
    }
    const bool afterA = !m_line.empty() && (m_line.back() == 'A' || m_line.back() == 'a');
    if (byte == '/' && afterA && !commandBody(m_line)) {
        reset();
        return "A/";
    }
    m_line += byte;
    if (m_line.size() > MaxLength) {
        m_line.clear();
        m_overflown = true;
    }
    return std::nullopt;
}

void LineAssembler::reset()
{
    m_line.clear();
    m_overflown = false;
}

} // namespace modem
