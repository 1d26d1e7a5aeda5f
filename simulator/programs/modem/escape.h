// Printable spelling of raw bytes, for logs.
#pragma once

#include <string>

namespace modem
{

/**
 * Spells bytes so that they fit on one line, in double quotes: \r, \n, \t, \", \\ and \xHH for
 * every other byte outside 0x20..0x7e.
 */
std::string printable(const std::string &bytes);

} // namespace modem
