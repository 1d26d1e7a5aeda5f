#include "network_side.h"

#include "posix.h"
#include "ppp_options.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <sys/wait.h>

namespace modem
{
namespace fs = std::filesystem;
namespace
{

// Addresses that answer a ping: one for tests, and the target of the panel's own ping test.
constexpr const char *Addresses[] = {"203.0.113.7/32", CORVANTA_PING_TARGET "/32"};

} // namespace

std::string NetworkSide::prepare()
{
    if (m_settings.nameSpace.empty())
        return {};
    const std::string &name = m_settings.nameSpace;
    const auto ip = [this](const std::vector<std::string> &arguments) {
        std::vector<std::string> all = {"ip"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return runProgram(all, m_settings.log) == 0;
    };
    m_prepared = true;
    if (!fs::exists("/run/netns/" + name) && !ip({"netns", "add", name}))
        return "the network namespace " + name + " cannot be made";
    bool ready = ip({"-n", name, "link", "set", "lo", "up"});
    for (const char *address : Addresses)
        ready = ready && ip({"-n", name, "address", "replace", address, "dev", "lo"});
    if (!ready)
        return "the addresses of the namespace " + name + " cannot be set";

    std::error_code error;
    const fs::path link = "/etc/netns/" + name;
    fs::create_directories(m_settings.folder + "/etc/ppp", error);
    fs::create_directories("/etc/netns", error);
    fs::remove(link, error);
    fs::create_directory_symlink(m_settings.folder + "/etc", link, error);
    return error ? link.string() + ": " + error.message() : std::string();
}

std::string NetworkSide::writeSecrets(const Scenario &scenario)
{
    const std::string folder = m_settings.folder + "/etc/ppp/";
    const std::string secrets = networkSecrets(scenario);
    for (const auto &[name, content] : {std::pair<const char *, std::string>("options", ""),
                                        {"pap-secrets", secrets},
                                        {"chap-secrets", secrets}}) {
        const int result = writePrivateFile(folder + name, content);
        if (result != 0)
            return folder + name + ": " + std::strerror(-result);
    }
    return {};
}

std::string NetworkSide::start(const Scenario &scenario, const std::string &port)
{
    std::vector<std::string> arguments;
    if (!m_settings.nameSpace.empty()) {
        const std::string fault = writeSecrets(scenario);
        if (!fault.empty())
            return fault;
        arguments = {"ip", "netns", "exec", m_settings.nameSpace};
    }
    for (std::string &argument :
         networkArguments(m_settings.program, port, m_settings.log, scenario))
        arguments.push_back(std::move(argument));
    m_pid = startProgram(arguments, m_settings.log);
    return m_pid > 0 ? std::string() : std::string("fork: ") + std::strerror(-m_pid);
}

void NetworkSide::signal(int signal)
{
    if (running())
        ::kill(m_pid, signal);
}

std::optional<std::string> NetworkSide::ended()
{
    int status = 0;
    if (!running() || ::waitpid(m_pid, &status, WNOHANG) != m_pid)
        return std::nullopt;
    m_pid = -1;
    return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                               : "exit " + std::to_string(WEXITSTATUS(status));
}

void NetworkSide::remove()
{
    if (running()) {
        signal(SIGKILL);
        while (::waitpid(m_pid, nullptr, 0) == -1 && errno == EINTR) {
        }
        m_pid = -1;
    }
    if (!m_prepared)
        return;
    m_prepared = false;
    std::error_code error;
    fs::remove("/etc/netns/" + m_settings.nameSpace, error);
    fs::remove_all(m_settings.folder, error);
    runProgram({"ip", "netns", "delete", m_settings.nameSpace}, m_settings.log);
}

} // namespace modem
