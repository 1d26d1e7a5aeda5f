// Assembles command lines from single bytes (ITU-T V.250, 5.2).
#pragma once

#include <optional>
#include <string>

namespace modem
{

/**
 * Collects bytes until a command line is complete.
 *
 * - The termination character (S3) ends a line, the editing character (S5) takes the last byte
 *   back. Line feeds and NULs are dropped.
 * - "A/" (repeat the last line) needs no termination: its slash ends it, unless an AT prefix came
 *   before.
 * - A line longer than MaxLength is dropped up to its end and counts as empty.
 */
class LineAssembler
{
public:
    static constexpr size_t MaxLength = 2048;

    /**
     * @param terminator S3, 0 to 127
     * @param backspace S5, 0 to 127
     */
    void setControls(char terminator, char backspace);

    /** @return the line that this byte completes, without its termination; "A/" for a repeat */
    std::optional<std::string> feed(char byte);

    /** Forgets the bytes of an unfinished line. */
    void reset();

private:
    std::string m_line;
    bool m_overflown = false;
    char m_terminator = '\r';
    char m_backspace = '\b';
};

} // namespace modem
