// Log of what the stick heard, answered and lived through.
#pragma once

#include "posix.h"

#include <chrono>
#include <string>

namespace modem
{

/**
 * One line an entry: seconds since the start, the kind, the text. Command lines and replies stand
 * in double quotes with escapes; readers may wait for a line to appear, each is written at once.
 *
 *     12.345 heard "AT+CSQ"
 *     12.346 reply "\r\n+CSQ: 17,99\r\n\r\nOK\r\n"
 *     13.000 event dialled, apn "internet", connected
 */
class EventLog
{
public:
    /** @param path file to append to; empty for standard error. */
    explicit EventLog(const std::string &path);

    bool isOpen() const { return m_file.valid(); }

    void heard(const std::string &line);
    void reply(const std::string &bytes);
    void event(const std::string &text);

private:
    void write(const char *kind, const std::string &text);

    UniqueFd m_file;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

} // namespace modem
