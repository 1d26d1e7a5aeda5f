// What the simulated chip and its bus are told to do.
#pragma once

#include "simulator/programs/chip/fm25v02chip.h"
#include "simulator/programs/common/setting.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <vector>

namespace chip
{

enum class Fault {
    None,
    Open,      ///< the device cannot be opened
    Queries,   ///< reading and writing the bus's settings fails
    Transfers, ///< messages fail; the chip sees nothing of them
    Short,     ///< of what a message clocks in, only the first 16 bytes arrive
    Zeros,     ///< the chip's output is held low
    Ones,      ///< the chip's output is held high, as by the pull-up when there is no chip
};

struct Scenario {
    Fault fault = Fault::None;
    std::chrono::milliseconds delay{0};      ///< added to every message
    std::map<unsigned, uint16_t> parameters; ///< of the parameter block, by index
};

/** @return what sets a scenario: fault, delay and parameter */
std::vector<common::Setting> scenarioSettings(Scenario &scenario);

/** Puts the parameters where the block has them: parameter N at 4 + 2 N, low byte first. */
void store(const Scenario &scenario, Fm25v02Chip &chip);

} // namespace chip
