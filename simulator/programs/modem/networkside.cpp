#include "simulator/programs/modem/networkside.h"

#include "io/filedescriptor.h"
#include "simulator/programs/common/transfer.h"
#include "simulator/programs/modem/childprocess.h"
#include "simulator/programs/modem/pppoptions.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <iterator>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>

namespace modem
{
namespace fs = std::filesystem;
namespace
{

// Addresses that answer a ping: one for tests, and the target of the program's ping test.
constexpr const char *Addresses[] = {"203.0.113.7/32", CORVANTA_PING_TARGET "/32"};

// The network's name server, on every address of the namespace, the link's included.
constexpr const char *NameServer[] = {
    "dnsmasq",        "--keep-in-foreground",
    "--user=root",    "--conf-file=/dev/null",
    "--no-resolv",    "--no-hosts",
    "--pid-file=",    "--log-facility=-",
    "--cache-size=0", "--host-record=host.example,203.0.113.7",
};
constexpr char NamespaceFolder[] = "/run/netns/"; // of "ip netns"

/** Writes a whole file that its owner alone may read. @return 0, or errno */
int writePrivateFile(const std::string &path, const std::string &content)
{
    const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    return file.isOpen() ? common::writeAll(file.get(), content) : errno;
}

/** Kills a child, if there is one, and waits for its end. */
void endProgram(pid_t &pid)
{
    if (pid <= 0)
        return;
    ::kill(pid, SIGKILL);
    while (::waitpid(pid, nullptr, 0) == -1 && errno == EINTR) {
    }
    pid = -1;
}

} // namespace

std::string NetworkSide::prepare()
{
    if (m_settings.nameSpace.empty())
        return {};
    m_prepared = true;
    std::error_code error;
    fs::create_directories(pppFolder(), error);
    std::string commands = "link set lo up\n";
    for (const char *address : Addresses)
        commands += std::string("address replace ") + address + " dev lo\n";
    const std::string batch = m_settings.folder + "/addresses";
    const int result = error ? error.value() : writePrivateFile(batch, commands);
    if (result != 0)
        return m_settings.folder + ": " + std::strerror(result);

    const std::string &name = m_settings.nameSpace;
    if (!fs::exists(NamespaceFolder + name, error) &&
        runProgram({"ip", "netns", "add", name}, m_settings.log) != 0)
        return "the network namespace " + name + " cannot be made";
    if (runProgram({"ip", "-n", name, "-batch", batch}, m_settings.log) != 0)
        return "the addresses of the namespace " + name + " cannot be set";
    m_nameServer = startProgram({std::begin(NameServer), std::end(NameServer)}, m_settings.log,
                                [this] { return enter(); });
    return m_nameServer > 0 ? std::string() : "the network's name server cannot be started";
}

std::string NetworkSide::writeSecrets(const Scenario &scenario) const
{
    const std::string secrets = networkSecrets(scenario);
    for (const auto &[name, content] : {std::pair<const char *, std::string>("/options", ""),
                                        {"/pap-secrets", secrets},
                                        {"/chap-secrets", secrets}}) {
        const int result = writePrivateFile(pppFolder() + name, content);
        if (result != 0)
            return pppFolder() + name + ": " + std::strerror(result);
    }
    return {};
}

// Not by "ip netns exec": on the board that takes so long that the caller's first packet is lost,
// which he repeats only three seconds later.
bool NetworkSide::enter() const
{
    const std::string path = NamespaceFolder + m_settings.nameSpace;
    const FileDescriptor net(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return net.isOpen() && ::setns(net.get(), CLONE_NEWNET) == 0 && ::unshare(CLONE_NEWNS) == 0 &&
           ::mount("", "/", "none", MS_SLAVE | MS_REC, nullptr) == 0 &&
           ::mount(pppFolder().c_str(), "/etc/ppp", "none", MS_BIND, nullptr) == 0;
}

std::string NetworkSide::start(const Scenario &scenario, const std::string &port)
{
    const auto arguments = networkArguments(m_settings.program, port, m_settings.log, scenario);
    std::function<bool()> prepare;
    if (!m_settings.nameSpace.empty()) {
        std::string fault = writeSecrets(scenario);
        if (!fault.empty())
            return fault;
        prepare = [this] { return enter(); };
    }
    m_pid = startProgram(arguments, m_settings.log, prepare);
    return m_pid > 0 ? std::string() : std::string("fork: ") + std::strerror(-m_pid);
}

void NetworkSide::signal(int signal)
{
    if (running())
        ::kill(m_pid, signal);
}

std::optional<NetworkEnd> NetworkSide::ended()
{
    int status = 0;
    if (!running() || ::waitpid(m_pid, &status, WNOHANG) != m_pid)
        return std::nullopt;
    m_pid = -1;
    if (WIFSIGNALED(status))
        return NetworkEnd{false, "signal " + std::to_string(WTERMSIG(status))};
    const int code = WEXITSTATUS(status);
    return NetworkEnd{pppdLostCaller(code), "exit " + std::to_string(code)};
}

void NetworkSide::remove()
{
    endProgram(m_pid);
    endProgram(m_nameServer);
    if (!m_prepared)
        return;
    m_prepared = false;
    std::error_code error;
    fs::remove_all(m_settings.folder, error);
    runProgram({"ip", "netns", "delete", m_settings.nameSpace}, m_settings.log);
}

} // namespace modem
