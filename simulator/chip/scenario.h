// What the simulated chip and its bus are told to do.
#pragma once

#include "fm25v02_chip.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
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

/**
 * A scenario file has one key=value a line; empty lines and lines that begin with # are skipped.
 *
 *     fault=none|open|queries|transfers|short|zeros|ones
 *     delay_ms=N        added to every message, 0 to 60000
 *     parameter.N=V     parameter N (0 to 99) of the parameter block becomes V (0 to 65535)
 */
struct Scenario {
    Fault fault = Fault::None;
    std::chrono::milliseconds delay{0};
    std::map<unsigned, uint16_t> parameters; ///< by index

    /** @return false when the key is unknown or the value does not fit it; nothing changes then */
    bool set(const std::string &key, const std::string &value);
};

/** Splits KEY=VALUE at its first equals sign and sets it. @return false as Scenario::set */
bool setPair(Scenario &scenario, const std::string &pair);

/**
 * Applies a scenario file's lines to a scenario. A file that is missing changes nothing.
 * @return one line of English for every line that is not understood
 */
std::vector<std::string> readScenario(const std::string &path, Scenario &scenario);

/** Puts the parameters where the block has them: parameter N at 4 + 2 N, low byte first. */
void store(const Scenario &scenario, Fm25v02Chip &chip);

} // namespace chip
