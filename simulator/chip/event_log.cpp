#include "event_log.h"

#include <fcntl.h>
#include <unistd.h>

namespace chip
{

EventLog::EventLog(const std::string &path)
    : m_file(path.empty() ? ::fdopen(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0), "a")
                          : std::fopen(path.c_str(), "ae"))
{
}

void EventLog::write(const std::string &text)
{
    const std::chrono::duration<double> age = std::chrono::steady_clock::now() - m_start;
    // A full disk must not stop the chip.
    std::fprintf(m_file.get(), "%.3f %s\n", age.count(), text.c_str());
    std::fflush(m_file.get());
}

} // namespace chip
