#include "simulator/programs/modem/redial.h"

namespace modem
{
namespace
{

constexpr char FrameFlag = 0x7e;

bool mayBeginCommand(const std::string &text)
{
    const size_t start = text.find_first_not_of("\r\n\"");
    const std::string rest = start == std::string::npos ? "" : text.substr(start, 2);
    return rest.empty() || rest == "A" || rest == "a" || rest == "AT" || rest == "at";
}

} // namespace

std::optional<std::string> RedialDetector::feed(const std::string &bytes)
{
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == FrameFlag) {
            reset();
            continue;
        }
        if (!m_betweenFrames)
            continue;
        m_text += bytes[i];
        if (!mayBeginCommand(m_text))
            m_betweenFrames = false;
        else if (m_text.back() == 'T' || m_text.back() == 't')
            return m_text + bytes.substr(i + 1);
    }
    return std::nullopt;
}

void RedialDetector::reset()
{
    m_betweenFrames = true;
    m_text.clear();
}

} // namespace modem
