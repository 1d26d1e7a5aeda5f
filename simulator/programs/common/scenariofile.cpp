#include "simulator/programs/common/scenariofile.h"

#include "io/filedescriptor.h"
#include "simulator/programs/common/transfer.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>

namespace common
{
namespace
{

std::string trimmed(const std::string &text)
{
    const char *blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string unknownKey(const std::string &name, const std::vector<Setting> &keys)
{
    std::string known;
    for (const Setting &key : keys)
        known += (known.empty() ? "" : ", ") + key.name;
    return "there is no key \"" + name + "\": the keys are " + known;
}

std::string applyLine(const std::string &line, const std::vector<Setting> &keys)
{
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos)
        return "\"" + line + "\" is no line of a scenario: it has no equals sign";
    const std::string name = trimmed(line.substr(0, equals));
    const auto key = std::find_if(keys.begin(), keys.end(),
                                  [&name](const Setting &known) { return known.name == name; });
    return key == keys.end() ? unknownKey(name, keys)
                             : assign(*key, name, trimmed(line.substr(equals + 1)));
}

} // namespace

int readScenarioFile(const std::string &path, std::string &text)
{
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) == -1)
        return errno;
    return S_ISREG(status.st_mode) ? readAll(file.get(), text) : EINVAL;
}

std::vector<std::string> applyScenario(const std::string &text, const std::vector<Setting> &keys)
{
    std::vector<std::string> faults;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        line = trimmed(line);
        if (line.empty() || line[0] == '#')
            continue;
        const std::string fault = applyLine(line, keys);
        if (!fault.empty())
            faults.push_back(fault);
    }
    return faults;
}

std::string scenarioHelp(const std::vector<Setting> &keys)
{
    std::string help;
    for (const Setting &key : keys)
        help += helpLines(key.name + '=' + key.value.form, key.help);
    return help;
}

} // namespace common
