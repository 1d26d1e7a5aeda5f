#include "escape.h"

#include <cctype>
#include <cstdio>

namespace modem
{

std::string escaped(const std::string &bytes)
{
    std::string text;
    for (const unsigned char byte : bytes) {
        switch (byte) {
        case '\r':
            text += "\\r";
            break;
        case '\n':
            text += "\\n";
            break;
        case '\t':
            text += "\\t";
            break;
        case '"':
            text += "\\\"";
            break;
        case '\\':
            text += "\\\\";
            break;
        default:
            if (byte >= 0x20 && byte < 0x7f) {
                text += static_cast<char>(byte);
            } else {
                char hex[5];
                std::snprintf(hex, sizeof hex, "\\x%02x", byte);
                text += hex;
            }
        }
    }
    return text;
}

std::optional<std::string> unescaped(const std::string &text)
{
    static const std::string codes = "rnt\"\\0";
    static const std::string values("\r\n\t\"\\\0", 6);
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes += text[i];
            continue;
        }
        if (++i == text.size())
            return std::nullopt;
        const size_t code = codes.find(text[i]);
        if (code != std::string::npos) {
            bytes += values[code];
        } else if (text[i] == 'x' && i + 2 < text.size() &&
                   std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
                   std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
            bytes += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            return std::nullopt;
        }
    }
    return bytes;
}

} // namespace modem
