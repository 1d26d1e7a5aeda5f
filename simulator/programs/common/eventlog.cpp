#include "simulator/programs/common/eventlog.h"

#include "simulator/programs/common/transfer.h"

#include <cstdio>
#include <fcntl.h>

namespace common
{

EventLog::EventLog(const std::string &path)
    : m_file(path.empty() ? ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)
                          : ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644))
{
}

void EventLog::write(const std::string &text)
{
    const std::chrono::duration<double> age = std::chrono::steady_clock::now() - m_start;
    char time[32];
    std::snprintf(time, sizeof time, "%.3f ", age.count());
    // A full disk must not stop a simulator.
    writeAll(m_file.get(), time + text + '\n');
}

} // namespace common
