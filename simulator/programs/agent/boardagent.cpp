// board-agent: serves the host's requests on standard input inside the board, one after another.
//
// A request is the line "ID VERB SECONDS LENGTH" and LENGTH bytes; the reply is the line
// "ID STATUS LENGTH" and LENGTH bytes. ID is any word. The verbs and their bytes:
// - run: shell commands, run by bash as root; the reply has their exit status (128 + N for signal
//   N, 124 when they took longer than SECONDS) and their output. The agent kills them then, and
//   when the host disconnects or sends the next request before the reply;
// - read: the path of a file; the reply has its content;
// - write: a path, a NUL and the content, which replaces that of the file;
// - ask: the path of a Unix socket, a NUL and the data to send; the reply has the data received
//   until the other end closed the connection.
// The status of the last three is 0, or errno.
//
// A shell script would be slow, because an emulated process takes some 50 ms to start.
#include "io/filedescriptor.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <poll.h>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int TimedOut = 124; // as of timeout(1)
constexpr int NotRun = 127;
constexpr int SignalBase = 128;
constexpr useconds_t HostPoll = 20'000; // µs

struct Reply {
    int status = 0;
    std::string output;
};

/** Reads up to the end of a file or connection. @return status 0 or errno, and what was read */
Reply readAll(int fd)
{
    Reply reply;
    char block[65536];
    ssize_t length;
    while ((length = ::read(fd, block, sizeof block)) > 0)
        reply.output.append(block, static_cast<size_t>(length));
    reply.status = length == 0 ? 0 : errno;
    return reply;
}

[[noreturn]] void becomeShell(const std::string &commands, int output)
{
    ::setpgid(0, 0);
    ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    ::execl("/bin/bash", "bash", "-c", commands.c_str(), nullptr);
    ::_exit(NotRun);
}

Reply run(const std::string &commands, double seconds)
{
    // A file, not a pipe: background processes may keep it open without delaying the reply.
    const FileDescriptor output(::memfd_create("output", MFD_CLOEXEC));
    const pid_t child = ::fork();
    if (child == 0)
        becomeShell(commands, output.get());
    const FileDescriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
    pollfd events[] = {{handle.get(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    const bool late = ::poll(events, 2, static_cast<int>(seconds * 1000)) == 0;
    if (events[0].revents == 0)
        ::kill(-child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    ::lseek(output.get(), 0, SEEK_SET);
    Reply reply = readAll(output.get());
    reply.status = late                  ? TimedOut
                   : WIFSIGNALED(status) ? SignalBase + WTERMSIG(status)
                                         : WEXITSTATUS(status);
    return reply;
}

Reply readFile(const std::string &path)
{
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    return file.isOpen() ? readAll(file.get()) : Reply{errno, {}};
}

Reply writeFile(const std::string &path, const std::string &content)
{
    std::ofstream file(path, std::ios::binary);
    file << content;
    file.close();
    return {file ? 0 : errno, {}};
}

Reply ask(const std::string &path, const std::string &question, double seconds)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const FileDescriptor peer(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval patience{static_cast<time_t>(seconds), 0};
    ::setsockopt(peer.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (::connect(peer.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == -1 ||
        ::send(peer.get(), question.data(), question.size(), 0) == -1)
        return {errno, {}};
    return readAll(peer.get());
}

Reply serve(const std::string &verb, double seconds, const std::string &body)
{
    const size_t end = body.find('\0');
    const std::string path = body.substr(0, end);
    const std::string rest = end == std::string::npos ? "" : body.substr(end + 1);
    if (verb == "run")
        return run(body, seconds);
    if (verb == "read")
        return readFile(path);
    if (verb == "write")
        return writeFile(path, rest);
    return ask(path, rest, seconds);
}

} // namespace

int main()
{
    std::ios::sync_with_stdio(false);
    for (;;) {
        std::string line, id, verb;
        double seconds = 0;
        size_t length = 0;
        std::getline(std::cin, line);
        std::istringstream(line) >> id >> verb >> seconds >> length;
        std::string body(length, '\0');
        if (std::cin.read(body.data(), static_cast<std::streamsize>(length))) {
            const Reply reply = serve(verb, seconds, body);
            std::cout << id << ' ' << reply.status << ' ' << reply.output.size() << '\n'
                      << reply.output << std::flush;
        } else { // the host is not connected
            std::cin.clear();
            ::usleep(HostPoll);
        }
    }
}
