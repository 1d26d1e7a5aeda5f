#include "scenario.h"

#include "escape.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

namespace modem
{
namespace
{

using Setter = std::function<bool(Scenario &, const std::string &)>;

Setter text(std::string Scenario::*member)
{
    return [member](Scenario &scenario, const std::string &value) {
        scenario.*member = value;
        return true;
    };
}

template <typename T> Setter choice(T Scenario::*member, std::map<std::string, T> names)
{
    return [member, names = std::move(names)](Scenario &scenario, const std::string &value) {
        const auto found = names.find(value);
        if (found == names.end())
            return false;
        scenario.*member = found->second;
        return true;
    };
}

bool parseCount(const std::string &value, int &count)
{
    if (value.empty() || value.size() > 7 ||
        value.find_first_not_of("0123456789") != std::string::npos)
        return false;
    count = std::stoi(value);
    return true;
}

template <typename Unit, typename Member> Setter duration(Member Scenario::*member)
{
    return [member](Scenario &scenario, const std::string &value) {
        int count = 0;
        if (!parseCount(value, count))
            return false;
        scenario.*member = Unit(count);
        return true;
    };
}

bool setCsqReply(Scenario &scenario, const std::string &value)
{
    const auto bytes = unescaped(value);
    if (bytes)
        scenario.csqReply = bytes;
    return bytes.has_value();
}

const std::map<std::string, Setter> &setters()
{
    using S = Scenario;
    using Ms = std::chrono::milliseconds;
    static const std::map<std::string, Setter> table = {
        {"sim.present", choice<bool>(&S::simPresent, {{"yes", true}, {"no", false}})},
        {"sim.pin", text(&S::simPin)},
        {"sim.puk", text(&S::simPuk)},
        {"answer", choice<S::Answer>(&S::answer, {{"normal", S::Answer::Normal},
                                                  {"silent", S::Answer::Silent},
                                                  {"echo", S::Answer::Echo},
                                                  {"slow", S::Answer::Slow},
                                                  {"pieces", S::Answer::Pieces}})},
        {"delay_ms", duration<Ms>(&S::delay)},
        {"dial", choice<S::Dial>(&S::dial, {{"connect", S::Dial::Connect},
                                            {"no-carrier", S::Dial::NoCarrier},
                                            {"busy", S::Dial::Busy},
                                            {"error", S::Dial::Error},
                                            {"no-dialtone", S::Dial::NoDialtone},
                                            {"no-answer", S::Dial::NoAnswer},
                                            {"delayed", S::Dial::Delayed}})},
        {"dial_ms", duration<Ms>(&S::dialTime)},
        {"connect_speed", text(&S::connectSpeed)},
        {"apn", text(&S::apn)},
        {"csq", text(&S::signalQuality)},
        {"csq_reply", setCsqReply},
        {"operator", text(&S::operatorName)},
        {"operator_number", text(&S::operatorNumber)},
        {"auth",
         choice<S::Auth>(
             &S::auth, {{"none", S::Auth::None}, {"pap", S::Auth::Pap}, {"chap", S::Auth::Chap}})},
        {"user", text(&S::user)},
        {"password", text(&S::password)},
        {"network.user", text(&S::networkUser)},
        {"network.password", text(&S::networkPassword)},
        {"drop_after_s", duration<std::chrono::seconds>(&S::dropAfter)},
    };
    return table;
}

std::string trimmed(const std::string &line)
{
    const char *blanks = " \t\r";
    const size_t first = line.find_first_not_of(blanks);
    if (first == std::string::npos)
        return {};
    return line.substr(first, line.find_last_not_of(blanks) - first + 1);
}

bool applyLine(Scenario &scenario, const std::string &line)
{
    const size_t equals = line.find('=');
    if (equals == std::string::npos)
        return false;
    const auto setter = setters().find(trimmed(line.substr(0, equals)));
    return setter != setters().end() && setter->second(scenario, trimmed(line.substr(equals + 1)));
}

} // namespace

Scenario parseScenario(const std::string &text, std::vector<std::string> &faults)
{
    Scenario scenario;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = trimmed(text.substr(start, end - start));
        if (!line.empty() && line[0] != '#' && !applyLine(scenario, line))
            faults.push_back("scenario line not understood: " + escaped(line));
        start = end + 1;
    }
    return scenario;
}

Scenario loadScenario(const std::string &path, std::vector<std::string> &faults)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd == -1) {
        if (errno != ENOENT)
            faults.push_back("scenario " + path + ": " + std::strerror(errno));
        return Scenario{};
    }
    std::string text(64 * 1024, '\0');
    struct stat status = {};
    ssize_t length = -1;
    if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode))
        length = ::read(fd, text.data(), text.size());
    ::close(fd);
    if (length == -1) {
        faults.push_back("scenario " + path + " cannot be read");
        return Scenario{};
    }
    text.resize(static_cast<size_t>(length));
    return parseScenario(text, faults);
}

const char *scenarioHelp()
{
    return "  sim.present=yes|no        a stick without SIM answers +CME ERROR: 10\n"
           "  sim.pin=DIGITS            PIN that the SIM asks for; empty asks for none\n"
           "  sim.puk=DIGITS            PUK (12345678); other PIN or PUK: another SIM is put in\n"
           "  answer=normal|silent|echo|slow|pieces\n"
           "                            silent: no reply; echo: ATE1 after reset; slow: every\n"
           "                            reply late; pieces: replies in parts of 1 to 3 bytes\n"
           "  delay_ms=N                lateness of a slow reply (1000), pause between pieces "
           "(20)\n"
           "  dial=connect|no-carrier|busy|error|no-dialtone|no-answer|delayed\n"
           "  dial_ms=N                 time from the dial command to its result (0)\n"
           "  connect_speed=TEXT        what follows CONNECT (3600000)\n"
           "  apn=NAME                  only APN that is let in, others: NO CARRIER (any)\n"
           "  csq=RSSI,BER              signal quality (17,99)\n"
           "  csq_reply=BYTES           the whole reply to AT+CSQ; escapes \\r \\n \\t \\\\ \\xHH\n"
           "  operator=NAME             operator of AT+COPS? (Testnet)\n"
           "  operator_number=DIGITS    its number (00101)\n"
           "  auth=none|pap|chap        how the network has its caller prove itself (none)\n"
           "  user=, password=          what it accepts then\n"
           "  network.user=, network.password=\n"
           "                            how the network proves itself to a caller that asks\n"
           "  drop_after_s=N            the network ends a call after N seconds (0: never)\n";
}

} // namespace modem
