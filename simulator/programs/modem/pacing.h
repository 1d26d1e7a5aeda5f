// Decides when the bytes of a reply leave the dongle.
#pragma once

#include "simulator/programs/modem/scenario.h"

#include <chrono>
#include <string>
#include <vector>

namespace modem
{

/** Bytes that leave together. */
struct TimedBytes {
    std::chrono::milliseconds pause{0}; ///< after the bytes before them
    std::string bytes;
};

/**
 * Cuts a reply up as the scenario says.
 * @return nothing for a silent dongle, one part for a normal or a slow one, parts of 1, 2, 3, 1,
 * ... bytes for a reply in pieces
 */
std::vector<TimedBytes> pace(const Scenario &scenario, const std::string &reply);

} // namespace modem
