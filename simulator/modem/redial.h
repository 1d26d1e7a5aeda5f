// Notices a caller that starts over while the stick still holds his last call.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace modem
{

/**
 * Watches what a caller sends during a call. The simulated line has no DTR: a caller whose pppd was
 * killed hangs up without a trace, and his next command line arrives in the middle of the call. A
 * command prefix right after a frame's closing flag is such a line, as no PPP frame begins that
 * way.
 */
class RedialDetector
{
public:
    /**
     * @param bytes what arrived next.
     * @return the command text so far, from its first byte on (it may have begun in earlier bytes),
     * as soon as its prefix is complete.
     */
    std::optional<std::string> feed(const std::string &bytes);

    void reset();

private:
    bool m_betweenFrames = true;
    std::string m_text; ///< what may turn out to be the beginning of a command line
};

} // namespace modem
