#include "scenario.h"

#include <fstream>
#include <optional>

namespace chip
{
namespace
{

constexpr unsigned BlockAddress = 0x0004;
constexpr unsigned ParameterLength = 2;
constexpr unsigned LastParameter = 99;
constexpr unsigned LongestDelay = 60000;
constexpr char ParameterPrefix[] = "parameter.";

const std::map<std::string, Fault> &faults()
{
    static const std::map<std::string, Fault> names = {
        {"none", Fault::None},           {"open", Fault::Open},   {"queries", Fault::Queries},
        {"transfers", Fault::Transfers}, {"short", Fault::Short}, {"zeros", Fault::Zeros},
        {"ones", Fault::Ones},
    };
    return names;
}

std::optional<unsigned> number(const std::string &text, unsigned most)
{
    if (text.empty() || text.size() > 6 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    const unsigned value = static_cast<unsigned>(std::stoul(text));
    return value <= most ? std::optional<unsigned>(value) : std::nullopt;
}

} // namespace

bool Scenario::set(const std::string &key, const std::string &value)
{
    if (key == "fault") {
        const auto found = faults().find(value);
        if (found == faults().end())
            return false;
        fault = found->second;
        return true;
    }
    if (key == "delay_ms") {
        const auto count = number(value, LongestDelay);
        if (count)
            delay = std::chrono::milliseconds(*count);
        return count.has_value();
    }
    const std::string prefix = ParameterPrefix;
    if (key.compare(0, prefix.size(), prefix) != 0)
        return false;
    const auto index = number(key.substr(prefix.size()), LastParameter);
    const auto parameter = number(value, UINT16_MAX);
    if (index && parameter)
        parameters[*index] = static_cast<uint16_t>(*parameter);
    return index && parameter;
}

bool setPair(Scenario &scenario, const std::string &pair)
{
    const std::size_t equals = pair.find('=');
    return equals != std::string::npos &&
           scenario.set(pair.substr(0, equals), pair.substr(equals + 1));
}

std::vector<std::string> readScenario(const std::string &path, Scenario &scenario)
{
    std::vector<std::string> complaints;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line[0] != '#' && !setPair(scenario, line))
            complaints.push_back("scenario line not understood: " + line);
    }
    return complaints;
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
