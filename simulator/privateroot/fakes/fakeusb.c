/* Stand-in for libusb: answers from the file /testrun/usb instead of the bus.
 *
 * Every libusb_init reads the file again, so a test can plug in and unplug the dongle at any time.
 * The lines of the file:
 * - init CODE: libusb_init returns this negative code;
 * - list CODE: libusb_get_device_list returns this negative code;
 * - device VENDOR PRODUCT: a device with these hexadecimal numbers is on the bus.
 *
 * Every libusb_exit appends a line to the log of calls: "usb balanced", or "usb leak" if a list has
 * not been freed. A failed libusb_init appends "usb failed".
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <libusb.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#define MAX_DEVICES 8 /* more than any test has */

struct libusb_device {
    uint16_t vendor;
    uint16_t product;
};

static struct libusb_device devices[MAX_DEVICES];
static int deviceCount;
static int initCode;
static int listCode;
static int openLists;

/* Do not load this library into the processes that the program starts. */
__attribute__((constructor)) static void keepToThisProcess(void)
{
    unsetenv("LD_PRELOAD");
}

static void readControlFile(void)
{
    char line[128];
    FILE *file = fopen("/testrun/usb", "re");
    deviceCount = initCode = listCode = 0;
    if (file == NULL)
        return;
    while (fgets(line, sizeof line, file) != NULL) {
        struct libusb_device *device = &devices[deviceCount];
        sscanf(line, "init %d", &initCode);
        sscanf(line, "list %d", &listCode);
        deviceCount += sscanf(line, "device %hx %hx", &device->vendor, &device->product) == 2;
    }
    fclose(file);
}

static void logCall(const char *what)
{
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    int log = open("/testrun/calls", O_WRONLY | O_APPEND | O_CLOEXEC);
    dprintf(log, "%lld.%09ld usb %s\n", (long long)now.tv_sec, now.tv_nsec, what);
    close(log);
}

int LIBUSB_CALL libusb_init(libusb_context **context)
{
    readControlFile();
    if (context != NULL)
        abort(); /* the program must use the default context, a null pointer */
    if (initCode < 0)
        logCall("failed");
    return initCode;
}

ssize_t LIBUSB_CALL libusb_get_device_list(libusb_context *context, libusb_device ***list)
{
    (void)context;
    if (listCode < 0)
        return listCode;
    *list = calloc((size_t)deviceCount + 1, sizeof(libusb_device *));
    if (*list == NULL)
        return LIBUSB_ERROR_NO_MEM;
    for (int i = 0; i < deviceCount; ++i)
        (*list)[i] = &devices[i];
    ++openLists;
    return deviceCount;
}

int LIBUSB_CALL libusb_get_device_descriptor(libusb_device *device,
                                             struct libusb_device_descriptor *descriptor)
{
    memset(descriptor, 0, sizeof *descriptor);
    descriptor->idVendor = device->vendor;
    descriptor->idProduct = device->product;
    return 0;
}

void LIBUSB_CALL libusb_free_device_list(libusb_device **list, int unrefDevices)
{
    if (list != NULL && unrefDevices == 1)
        --openLists;
    free(list);
}

void LIBUSB_CALL libusb_exit(libusb_context *context)
{
    (void)context;
    logCall(openLists == 0 ? "balanced" : "leak");
}
