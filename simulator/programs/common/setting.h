// What a person sets by a name: options and operands of a program, keys of a scenario.
#pragma once

#include "simulator/programs/common/digits.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace common
{

/** The values that a setting takes, and where they go: it must not outlive that place. */
struct Value {
    std::string form;                              ///< as the help spells it: "FILE", "yes|no"
    std::string allowed;                           ///< in words: "a whole number from 0 to 99"
    std::function<bool(const std::string &)> take; ///< false: does not fit, nothing has changed
};

struct Setting {
    std::string name;
    Value value;
    std::string help; ///< with line feeds between its lines
};

inline Value anyText(const char *form, std::string &target)
{
    return {form, "any text", [&target](const std::string &text) {
                target = text;
                return true;
            }};
}

/** @param names every value's name; the help and the faults list them in this order */
template <typename Target>
Value oneOf(std::vector<std::pair<std::string, Target>> names, Target &target)
{
    std::string form = names.front().first;
    std::string allowed = "one of " + form;
    for (std::size_t i = 1; i < names.size(); ++i) {
        form += '|' + names[i].first;
        allowed += ", " + names[i].first;
    }
    return {form, allowed, [names = std::move(names), &target](const std::string &text) {
                for (const auto &[name, value] : names) {
                    if (name != text)
                        continue;
                    target = value;
                    return true;
                }
                return false;
            }};
}

/** Whole numbers from least to most, stored as Unit: int, std::chrono::seconds. */
template <typename Unit, typename Target>
Value number(const char *form, int least, int most, Target &target)
{
    return {form, "a whole number from " + std::to_string(least) + " to " + std::to_string(most),
            [least, most, &target](const std::string &text) {
                const auto count = wholeNumber(text, least, most);
                if (count)
                    target = static_cast<Unit>(*count);
                return count.has_value();
            }};
}

/**
 * Gives a setting the value that a person wrote.
 * @param name how that person knows the setting: "--fault"
 * @return a sentence when the value does not fit, else nothing
 */
inline std::string assign(const Setting &setting, const std::string &name, const std::string &text)
{
    if (setting.value.take(text))
        return {};
    return name + " cannot be \"" + text + "\": it is " + setting.value.allowed;
}

/** @param spelled the setting with its value: "--log FILE" @return its lines of a help text */
inline std::string helpLines(const std::string &spelled, const std::string &help)
{
    constexpr std::size_t Column = 28;
    const std::string nextLine = '\n' + std::string(Column, ' ');
    std::string lines = "  " + spelled;
    lines += lines.size() < Column ? std::string(Column - lines.size(), ' ') : nextLine;
    for (const char c : help)
        lines += c == '\n' ? nextLine : std::string(1, c);
    return lines + '\n';
}

} // namespace common
