// Notices a caller who starts over while the dongle still holds his last call.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace modem
{

/**
 * Watches what a caller sends during a call. The simulated line has no DTR: a caller whose pppd is
 * killed hangs up without a trace, and his next command line arrives in the middle of the call. It
 * is known by its command prefix right after a frame's closing flag: no PPP frame begins that way.
 */
class RedialDetector
{
public:
    /**
     * @param bytes what arrived next
     * @return once the prefix is complete, the command text so far; it may have begun in earlier
     *         bytes
     */
    std::optional<std::string> feed(const std::string &bytes);

    void reset();

private:
    bool m_betweenFrames = true;
    std::string m_text; ///< what may turn out to be the beginning of a command line
};

} // namespace modem
