// Log of what the chip and its device saw.
#pragma once

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

namespace chip
{

/** One line an entry, written at once: seconds since the start, then the text. */
class EventLog
{
public:
    /** @param path file to append to; empty for standard error */
    explicit EventLog(const std::string &path);

    bool isOpen() const { return m_file != nullptr; }
    void write(const std::string &text);

private:
    struct Closer {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Closer> m_file;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

} // namespace chip
