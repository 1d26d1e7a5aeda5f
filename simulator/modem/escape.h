// Printable spelling of raw bytes, for logs and for scenario values.
#pragma once

#include <optional>
#include <string>

namespace modem
{

/**
 * Spells bytes so that they fit on one line: \r, \n, \t, \", \\ and \xHH for every byte outside
 * 0x20..0x7e.
 */
std::string escaped(const std::string &bytes);

/**
 * Reverses escaped(); \0 is understood too.
 * @return the bytes, or nothing when an escape is unknown or incomplete.
 */
std::optional<std::string> unescaped(const std::string &text);

} // namespace modem
