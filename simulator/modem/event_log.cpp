#include "event_log.h"

#include "escape.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace modem
{

EventLog::EventLog(const std::string &path)
    : m_file(path.empty() ? ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)
                          : ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644))
{
}

void EventLog::heard(const std::string &line)
{
    write("heard", '"' + escaped(line) + '"');
}

void EventLog::reply(const std::string &bytes)
{
    write("reply", '"' + escaped(bytes) + '"');
}

void EventLog::event(const std::string &text)
{
    write("event", text);
}

void EventLog::write(const char *kind, const std::string &text)
{
    const std::chrono::duration<double> age = std::chrono::steady_clock::now() - m_start;
    char prefix[48];
    std::snprintf(prefix, sizeof prefix, "%.3f %s ", age.count(), kind);
    const std::string line = prefix + text + '\n';
    // A full disk must not stop the stick.
    [[maybe_unused]] const ssize_t written = ::write(m_file.get(), line.data(), line.size());
}

} // namespace modem
