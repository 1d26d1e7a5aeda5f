/* Stand-in for a program of the board, run under that program's name. It logs the call. Then it
 * runs the test's answer script, if there is one, or behaves like the program. Tests start
 * thousands of stand-ins, so only an answer script starts a shell.
 *
 * Under the name sh it logs the command and runs nothing. Its exit status means that the device
 * node exists and that the link is down.
 */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/time.h>
#include <unistd.h>

enum { LINE = 65536 };

/* Append the time and the command line to the log in one write. Return -1 on error. */
static int logCall(const char *name, char **arguments)
{
    char line[LINE];
    struct timeval now;
    gettimeofday(&now, NULL);
    size_t length = (size_t)snprintf(line, LINE, "%lld.%06ld %s", (long long)now.tv_sec,
                                     (long)now.tv_usec, name);
    for (char **argument = arguments + 1; *argument != NULL && length < LINE; ++argument)
        length += (size_t)snprintf(line + length, LINE - length, " %s", *argument);
    if (length >= LINE)
        return -1;
    line[length++] = '\n';
    const int log = open("/testrun/calls", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    return write(log, line, length) == (ssize_t)length ? 0 : -1;
}

static int showInterfaces(void)
{
    char text[4096];
    const int file = open("/testrun/interfaces", O_RDONLY);
    const ssize_t length = read(file, text, sizeof text);
    return length == -1 || write(STDOUT_FILENO, text, (size_t)length) != length;
}

int main(int count, char **arguments)
{
    const char *name = program_invocation_short_name;
    const int isShell = strcmp(name, "sh") == 0;
    const char *command = arguments[count - 1];
    if (logCall(isShell ? command : name, isShell ? arguments + count - 1 : arguments) == -1)
        return 127;
    if (isShell)
        return strstr(command, "ttyUSB") == NULL;
    char path[256];
    snprintf(path, sizeof path, "/testrun/answers/%s", name);
    if (access(path, R_OK) == 0) {
        /* inside/answer finds the test's answer script by the name under which it is run. */
        snprintf(path, sizeof path, "/testrun/answering/%s", name);
        execv(path, arguments);
        return 127;
    }
    if (strcmp(name, "ls") == 0) {
        execv("/usr/bin/ls", arguments);
        return 127;
    }
    return strcmp(name, "ifconfig") == 0 ? showInterfaces() : 0;
}
