/* The board's commands for pppd, killall, ifconfig and route, as cheap as a program can be. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

int main(void)
{
    const char *name = program_invocation_short_name;
    if (strcmp(name, "ifconfig") == 0) {
        char text[4096];
        const int file = open("/bench/interfaces", O_RDONLY);
        const ssize_t length = read(file, text, sizeof text);
        return length == -1 || write(STDOUT_FILENO, text, (size_t)length) != length;
    }
    if (strcmp(name, "pppd") == 0) {
        struct timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        const int file = open("/bench/dialled", O_WRONLY | O_CREAT | O_TRUNC, 0600);
        return dprintf(file, "%lld\n", now.tv_sec * 1000000000LL + now.tv_nsec) < 0;
    }
    return strcmp(name, "killall") == 0; /* no process is found */
}
