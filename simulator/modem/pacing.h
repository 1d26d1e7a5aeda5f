// When the bytes of a reply leave the stick.
#pragma once

#include "scenario.h"

#include <chrono>
#include <string>
#include <vector>

namespace modem
{

/** Bytes that leave together, some time after the bytes before them. */
struct TimedBytes {
    std::chrono::milliseconds pause{0};
    std::string bytes;
};

/**
 * Cuts a reply up as the scenario's kind of answer wants it.
 * @return nothing for a silent stick, one part for a normal or a slow one, parts of 1, 2, 3, 1 ...
 * bytes for a reply in pieces.
 */
std::vector<TimedBytes> pace(const Scenario &scenario, const std::string &reply);

} // namespace modem
