/* The same commands, file writes and USB enumerations as the program makes, and nothing else.
 *
 *   bare check      one link check
 *   bare connect    one attempt to connect, parameters changed, until pppd has been started
 *
 * Prints the processor time in nanoseconds, that of the commands included. Everything is done once
 * before it is measured: the program that it is compared with has been running for a while. */
#include <fcntl.h>
#include <libusb.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

static void enumerateUsb(void)
{
    libusb_device **devices;
    libusb_init(NULL);
    const ssize_t count = libusb_get_device_list(NULL, &devices);
    for (ssize_t i = 0; i < count; ++i) {
        struct libusb_device_descriptor descriptor;
        libusb_get_device_descriptor(devices[i], &descriptor);
        if (descriptor.idVendor == 0x12d1 && descriptor.idProduct == 0x1001)
            break;
    }
    libusb_free_device_list(devices, 1);
    libusb_exit(NULL);
}

static void run(const char *commandLine)
{
    if (system(commandLine) == -1)
        abort();
}

static void writeLines(const char *path, int count)
{
    static const char line[] = "connect 'chat -t5 -E'\n";
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    for (int i = 0; i < count; ++i) {
        if (write(file, line, sizeof line - 1) == -1)
            abort();
    }
    fsync(file);
    close(file);
}

static void readAll(const char *path)
{
    char buffer[4096];
    const int file = open(path, O_RDONLY);
    while (read(file, buffer, sizeof buffer) > 0)
        ;
    close(file);
}

static void check(void)
{
    run("ifconfig | grep ppp");
    enumerateUsb();
    run("ls /dev | grep ttyUSB");
}

static void connect(void)
{
    enumerateUsb();
    run("ls /dev | grep ttyUSB");
    run("killall pppd");
    writeLines("/quenfold/configs/3gparam", 6);
    writeLines("/quenfold/configs/autoparam", 2);
    readAll("/quenfold/configs/3gparam");
    readAll("/quenfold/configs/autoparam");
    writeLines("/etc/ppp/peers/ppp-connect", 14);
    writeLines("/etc/ppp/chat/chat", 16);
    run("pppd call ppp-connect &");
}

static long long spent(void)
{
    struct timespec own;
    struct rusage children;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &own);
    getrusage(RUSAGE_CHILDREN, &children);
    return (own.tv_sec + children.ru_utime.tv_sec + children.ru_stime.tv_sec) * 1000000000LL +
           own.tv_nsec + (children.ru_utime.tv_usec + children.ru_stime.tv_usec) * 1000LL;
}

int main(int argc, char **argv)
{
    void (*const work)(void) = argc == 2 && strcmp(argv[1], "connect") == 0 ? connect : check;
    work();
    const long long before = spent();
    work();
    printf("%lld\n", spent() - before);
    return 0;
}
