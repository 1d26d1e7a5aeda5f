// board-agent: serves the host's requests inside the board, one after another.
//
// A request is the line "ID VERB SECONDS LENGTH" and LENGTH bytes; the reply is the line
// "ID STATUS LENGTH" and LENGTH bytes. ID is any word. The verbs and their bytes:
// - run: shell commands, run by bash as root; the reply has their exit status (128 + N for signal
//   N, 124 when they took longer than SECONDS and were killed) and their output;
// - read: the path of a file; the reply has its content;
// - write: a path, a NUL and the content, which replaces the file atomically;
// - ask: the path of a Unix socket, a NUL and the data to send; the reply has the data received
//   until the other end closed the connection.
// The status of the last three is 0, or errno.
//
// A shell script would be slow, because an emulated process takes some 50 ms to start.
#include "io/filedescriptor.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

constexpr int TimedOut = 124;
constexpr int NotRun = 127;
constexpr int SignalBase = 128;
constexpr std::chrono::milliseconds HostPoll{20};

struct Request {
    std::string id;
    std::string verb;
    double seconds = 0;
    size_t length = 0;
    std::string body;
};

struct Reply {
    int status = 0;
    std::string output;
};

/** Writes all bytes. @return 0, or errno */
int writeAll(int fd, const std::string &bytes)
{
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t written = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (written == -1 && errno != EINTR)
            return errno;
        done += written == -1 ? 0 : static_cast<std::size_t>(written);
    }
    return 0;
}

/** Appends everything up to the end of a file or connection. @return 0, or errno */
int readAll(int fd, std::string &bytes)
{
    char block[65536];
    for (;;) {
        const ssize_t length = ::read(fd, block, sizeof block);
        if (length == 0)
            return 0;
        if (length > 0)
            bytes.append(block, static_cast<std::size_t>(length));
        else if (errno != EINTR)
            return errno;
    }
}

[[noreturn]] void becomeShell(const std::string &commands, int output)
{
    ::setpgid(0, 0);
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    ::execl("/bin/bash", "bash", "-c", commands.c_str(), nullptr);
    ::_exit(NotRun);
}

/** Waits for a child and kills its process group after that time. @return exit status */
int waitFor(pid_t child, double seconds)
{
    const FileDescriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
    pollfd ended{handle.get(), POLLIN, 0};
    const bool late = ::poll(&ended, 1, static_cast<int>(seconds * 1000)) == 0;
    if (late)
        ::kill(-child, SIGKILL);
    int status = 0;
    while (::waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    if (late)
        return TimedOut;
    return WIFSIGNALED(status) ? SignalBase + WTERMSIG(status) : WEXITSTATUS(status);
}

Reply run(const Request &request)
{
    // A file, not a pipe: background processes may keep it open without delaying the reply.
    const FileDescriptor output(::memfd_create("output", MFD_CLOEXEC));
    const pid_t child = output.isOpen() ? ::fork() : -1;
    if (child == -1)
        return {NotRun, std::strerror(errno)};
    if (child == 0)
        becomeShell(request.body, output.get());
    Reply reply{waitFor(child, request.seconds), {}};
    ::lseek(output.get(), 0, SEEK_SET);
    readAll(output.get(), reply.output);
    return reply;
}

Reply readFile(const Request &request)
{
    const FileDescriptor file(::open(request.body.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    Reply reply;
    reply.status = file.isOpen() ? readAll(file.get(), reply.output) : errno;
    return reply;
}

/** @return the parts of a body before and after its first NUL */
std::pair<std::string, std::string> parts(const std::string &body)
{
    const size_t end = body.find('\0');
    return {body.substr(0, end), end == std::string::npos ? "" : body.substr(end + 1)};
}

Reply writeFile(const Request &request)
{
    const auto [path, content] = parts(request.body);
    const std::string unfinished = path + ".unfinished";
    const FileDescriptor file(
        ::open(unfinished.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!file.isOpen())
        return {errno, {}};
    if (const int error = writeAll(file.get(), content))
        return {error, {}};
    return {::rename(unfinished.c_str(), path.c_str()) == -1 ? errno : 0, {}};
}

Reply ask(const Request &request)
{
    const auto [path, question] = parts(request.body);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const FileDescriptor peer(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval patience{static_cast<time_t>(request.seconds), 0};
    ::setsockopt(peer.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    ::setsockopt(peer.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    if (::connect(peer.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == -1)
        return {errno, {}};
    if (const int error = writeAll(peer.get(), question))
        return {error, {}};
    Reply reply;
    reply.status = readAll(peer.get(), reply.output);
    return reply;
}

Reply serve(const Request &request)
{
    if (request.verb == "run")
        return run(request);
    if (request.verb == "read")
        return readFile(request);
    if (request.verb == "write")
        return writeFile(request);
    if (request.verb == "ask")
        return ask(request);
    return {EINVAL, {}};
}

/** The port to the host; a read returns end of file while the host is not connected. */
class Port
{
public:
    explicit Port(const std::string &path) : m_device(::open(path.c_str(), O_RDWR | O_CLOEXEC)) {}

    bool isOpen() const { return m_device.isOpen(); }

    /** Reads a request. @return false when the host disconnected during it, or sent none */
    bool take(Request &request)
    {
        size_t end;
        while ((end = m_received.find('\n')) == std::string::npos) {
            if (!receive())
                return false;
        }
        std::istringstream header(m_received.substr(0, end));
        m_received.erase(0, end + 1);
        if (!(header >> request.id >> request.verb >> request.seconds >> request.length))
            return false;
        while (m_received.size() < request.length) {
            if (!receive())
                return false;
        }
        request.body = m_received.substr(0, request.length);
        m_received.erase(0, request.length);
        return true;
    }

    void send(const Request &request, const Reply &reply)
    {
        writeAll(m_device.get(), request.id + ' ' + std::to_string(reply.status) + ' ' +
                                     std::to_string(reply.output.size()) + '\n' + reply.output);
    }

private:
    bool receive()
    {
        char block[4096];
        const ssize_t length = ::read(m_device.get(), block, sizeof block);
        if (length > 0) {
            m_received.append(block, static_cast<size_t>(length));
            return true;
        }
        m_received.clear();
        std::this_thread::sleep_for(HostPoll);
        return false;
    }

    FileDescriptor m_device;
    std::string m_received;
};

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fputs("Usage: board-agent PORT\n", stderr);
        return 2;
    }
    for (const int number : {SIGCHLD, SIGINT, SIGQUIT})
        ::signal(number, SIG_DFL);
    Port port(argv[1]);
    if (!port.isOpen()) {
        std::fprintf(stderr, "board-agent: %s: %s\n", argv[1], std::strerror(errno));
        return 1;
    }
    for (;;) {
        Request request;
        if (port.take(request))
            port.send(request, serve(request));
    }
}
