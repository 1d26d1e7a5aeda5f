#include "simulator/programs/modem/childprocess.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace modem
{
namespace
{

constexpr int NotExecutable = 127;

[[noreturn]] void becomeProgram(char *const *arguments, const char *output, pid_t parent,
                                const std::function<bool()> &prepare)
{
    // SIGHUP and SIGPIPE are ignored here, and exec would pass that and the signal mask on.
    ::signal(SIGHUP, SIG_DFL);
    ::signal(SIGPIPE, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != parent || (prepare && !prepare()))
        ::_exit(NotExecutable);

    const int in = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    int out = ::open(output, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, 0644);
    if (out == -1)
        out = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ::dup2(in, STDIN_FILENO);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(out, STDERR_FILENO);
    ::execvp(arguments[0], arguments);
    ::_exit(NotExecutable);
}

} // namespace

pid_t startProgram(const std::vector<std::string> &arguments, const std::string &output,
                   const std::function<bool()> &prepare)
{
    std::vector<char *> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string &argument : arguments)
        pointers.push_back(const_cast<char *>(argument.c_str()));
    pointers.push_back(nullptr);
    const char *outputPath = output.empty() ? "/dev/null" : output.c_str();
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child == 0)
        becomeProgram(pointers.data(), outputPath, parent, prepare);
    return child == -1 ? -errno : child;
}

int runProgram(const std::vector<std::string> &arguments, const std::string &output)
{
    const pid_t child = startProgram(arguments, output);
    if (child < 0)
        return -1;
    int status = 0;
    while (::waitpid(child, &status, 0) == -1) {
        if (errno != EINTR)
            return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace modem
