#include "simulator/programs/modem/pppoptions.h"

#include <iterator>

namespace modem
{
namespace
{

// The restart and echo figures let a call whose caller vanished end within some 12 seconds.
constexpr const char *LinkOptions[] = {
    "10.64.64.64:10.11.12.13",
    "ms-dns",
    "10.64.64.64", // addresses
    "noipdefault",
    "nodefaultroute",
    "noipv6",
    "noccp",
    "novj",
    "lcp-restart",
    "2",
    "lcp-max-configure",
    "6", // seconds, tries
    "lcp-echo-interval",
    "3",
    "lcp-echo-failure",
    "4", // seconds, tries
};

// pppd reads a secrets file word by word: inside double quotes only these two need care.
std::string quotedWord(const std::string &word)
{
    std::string quoted = "\"";
    for (const char c : word) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

std::string secretsLine(const std::string &client, const std::string &secret)
{
    return quotedWord(client) + " * " + quotedWord(secret) + " *\n";
}

} // namespace

std::vector<std::string> networkArguments(const std::string &program, const std::string &port,
                                          const std::string &log, const Scenario &scenario)
{
    std::vector<std::string> arguments = {program, port, "115200", "local", "nodetach"};
    switch (scenario.auth) {
    case Scenario::Auth::None:
        arguments.emplace_back("noauth");
        break;
    case Scenario::Auth::Pap:
        arguments.insert(arguments.end(), {"auth", "require-pap"});
        break;
    case Scenario::Auth::Chap:
        arguments.insert(arguments.end(), {"auth", "require-chap"});
        break;
    }
    if (!scenario.networkUser.empty())
        arguments.insert(arguments.end(), {"user", scenario.networkUser});

    arguments.insert(arguments.end(), std::begin(LinkOptions), std::end(LinkOptions));
    arguments.insert(arguments.end(), {"debug", "show-password", "logfile", log});
    return arguments;
}

std::string networkSecrets(const Scenario &scenario)
{
    std::string secrets = secretsLine(scenario.user, scenario.password);
    if (!scenario.networkUser.empty())
        secrets += secretsLine(scenario.networkUser, scenario.networkPassword);
    return secrets;
}

bool pppdLostCaller(int exitStatus)
{
    // pppd(8), EXIT STATUS: negotiation failed, no reply to echo requests, modem hung up.
    return exitStatus == 10 || exitStatus == 15 || exitStatus == 16;
}

} // namespace modem
