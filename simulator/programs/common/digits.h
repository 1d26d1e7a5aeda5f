// Whole numbers and codes, written in decimal digits.
#pragma once

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>

namespace common
{

/** @return whether a text consists of digits, as an empty one does */
inline bool isDigits(const std::string &text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/** @return the number that a text spells, or nothing when it is none from least (not below 0) to
 *          most */
inline std::optional<int> wholeNumber(const std::string &text, int least, int most)
{
    int number = -1;
    if (!isDigits(text) ||
        std::from_chars(text.data(), text.data() + text.size(), number).ec != std::errc())
        return std::nullopt;
    return number >= least && number <= most ? std::optional(number) : std::nullopt;
}

} // namespace common
