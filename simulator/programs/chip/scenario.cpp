#include "simulator/programs/chip/scenario.h"

namespace chip
{
namespace
{

constexpr unsigned BlockAddress = 0x0004;
constexpr unsigned ParameterLength = 2;
constexpr int LastParameter = 99;
constexpr int LongestDelay = 60000;

/** Parameters of the block, one at a time: INDEX=VALUE. */
common::Value parameter(std::map<unsigned, uint16_t> &parameters)
{
    return {"N=V", "N=V, N from 0 to 99 and V from 0 to 65535",
            [&parameters](const std::string &text) {
                const std::size_t equals = text.find('=');
                if (equals == std::string::npos)
                    return false;
                const auto index = common::wholeNumber(text.substr(0, equals), 0, LastParameter);
                const auto value = common::wholeNumber(text.substr(equals + 1), 0, UINT16_MAX);
                if (index && value)
                    parameters[static_cast<unsigned>(*index)] = static_cast<uint16_t>(*value);
                return index && value;
            }};
}

} // namespace

std::vector<common::Setting> scenarioSettings(Scenario &scenario)
{
    return {
        {"fault",
         common::oneOf({{"none", Fault::None},
                        {"open", Fault::Open},
                        {"queries", Fault::Queries},
                        {"transfers", Fault::Transfers},
                        {"short", Fault::Short},
                        {"zeros", Fault::Zeros},
                        {"ones", Fault::Ones}},
                       scenario.fault),
         "what fails (none)"},
        {"delay", common::number<std::chrono::milliseconds>("MS", 0, LongestDelay, scenario.delay),
         "added to every message (0)"},
        {"parameter", parameter(scenario.parameters),
         "parameter N of the block at address 4 becomes V"},
    };
}

void store(const Scenario &scenario, Fm25v02Chip &chip)
{
    for (const auto &[index, value] : scenario.parameters) {
        const unsigned address = BlockAddress + ParameterLength * index;
        chip.memory()[address] = value & 0xFF;
        chip.memory()[address + 1] = value >> 8;
    }
}

} // namespace chip
