// Log of what a simulator has seen and done.
#pragma once

#include "io/filedescriptor.h"

#include <chrono>
#include <string>

namespace common
{

/**
 * One line an entry: seconds since the start, then the text. Each is written at once, so that
 * readers may wait for a line to appear.
 *
 *     12.345 heard "AT+CSQ"
 */
class EventLog
{
public:
    /** @param path file to append to; empty for standard error */
    explicit EventLog(const std::string &path);

    bool isOpen() const { return m_file.isOpen(); }

    /** @param text one line without its end */
    void write(const std::string &text);

private:
    FileDescriptor m_file;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

} // namespace common
