#include "simulator/programs/modem/pacing.h"

namespace modem
{

std::vector<TimedBytes> pace(const Scenario &scenario, const std::string &reply)
{
    using std::chrono::milliseconds;
    if (reply.empty() || scenario.answer == Scenario::Answer::Silent)
        return {};
    if (scenario.answer == Scenario::Answer::Slow)
        return {{scenario.delay.value_or(milliseconds(1000)), reply}};
    if (scenario.answer != Scenario::Answer::Pieces)
        return {{milliseconds(0), reply}};

    std::vector<TimedBytes> parts;
    size_t length = 1;
    for (size_t at = 0; at < reply.size(); length = length % 3 + 1) {
        const milliseconds pause =
            at == 0 ? milliseconds(0) : scenario.delay.value_or(milliseconds(20));
        parts.push_back({pause, reply.substr(at, length)});
        at += length;
    }
    return parts;
}

} // namespace modem
