#include "core/pppdwords.h"

#include <cctype>

bool isOnePppdWord(const QByteArray &value)
{
    enum { Before, Inside, Quoted, Behind } place = Before;
    char quote = 0;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const char c = value[i];
        if (place == Quoted && c == quote) {
            place = Behind; // Whether pppd goes on with the word depends on its release.
        } else if (place == Quoted || place == Inside || place == Before) {
            if (c == '\\' && ++i == value.size())
                return false;
            if (place == Quoted)
                continue;
            if (c == '#') // In front of the value, it has pppd take the next line's word.
                return place == Inside;
            if (c == '"' || c == '\'') {
                quote = c;
                place = Quoted;
            } else if (std::isspace(static_cast<unsigned char>(c))) {
                place = place == Inside ? Behind : Before;
            } else {
                place = Inside;
            }
        } else if (c == '#') {
            return true;
        } else if (!std::isspace(static_cast<unsigned char>(c))) {
            return false;
        }
    }
    return place != Quoted;
}
