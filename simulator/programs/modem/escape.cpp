#include "simulator/programs/modem/escape.h"

#include <cstdio>

namespace modem
{
namespace
{

std::string escaped(char byte)
{
    static const std::string values = "\r\n\t\"\\";
    static const std::string codes = "rnt\"\\";
    const std::size_t known = values.find(byte);
    if (known != std::string::npos)
        return {'\\', codes[known]};
    if (byte >= 0x20 && byte < 0x7f)
        return {byte};
    char hex[5];
    std::snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned char>(byte));
    return hex;
}

} // namespace

std::string printable(const std::string &bytes)
{
    std::string text = "\"";
    for (const char byte : bytes)
        text += escaped(byte);
    return text + '"';
}

} // namespace modem
