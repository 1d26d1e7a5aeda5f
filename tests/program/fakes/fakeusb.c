/* Stands in for libusb: answers from a small file instead of the bus.
 *
 * The file is named by CORVANTA_FAKE_USB and read anew by every libusb_init, so that a test can
 * plug and pull in between. One word and its numbers per line:
 *   init CODE             libusb_init returns CODE (negative)
 *   list CODE             libusb_get_device_list returns CODE (negative)
 *   device VENDOR PRODUCT one device on the bus, hexadecimal
 * Every libusb_exit appends a line to the log of calls (CORVANTA_CALL_LOG): "usb balanced", or
 * "usb leak" when a list had not been freed. A failed libusb_init appends "usb failed".
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <libusb.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#define MAX_DEVICES 8

struct libusb_device {
    uint16_t vendor;
    uint16_t product;
};

static struct libusb_device devices[MAX_DEVICES];
static int device_count;
static int init_code;
static int list_code;
static int open_lists;

/* The processes that the program starts shall not be looked at through this library. */
__attribute__((constructor)) static void keep_to_this_process(void)
{
    unsetenv("LD_PRELOAD");
}

static void read_control_file(void)
{
    char line[128];
    const char *path = getenv("CORVANTA_FAKE_USB");
    FILE *file = path != NULL ? fopen(path, "re") : NULL;
    device_count = init_code = list_code = 0;
    if (file == NULL)
        return;
    while (fgets(line, sizeof line, file) != NULL) {
        unsigned vendor, product;
        int code;
        if (sscanf(line, "init %d", &code) == 1)
            init_code = code;
        else if (sscanf(line, "list %d", &code) == 1)
            list_code = code;
        else if (sscanf(line, "device %x %x", &vendor, &product) == 2 &&
                 device_count < MAX_DEVICES) {
            devices[device_count].vendor = (uint16_t)vendor;
            devices[device_count++].product = (uint16_t)product;
        }
    }
    fclose(file);
}

static void log_call(const char *what)
{
    char line[64];
    struct timespec now;
    const char *path = getenv("CORVANTA_CALL_LOG");
    int fd = path != NULL ? open(path, O_WRONLY | O_APPEND | O_CLOEXEC) : -1;
    if (fd == -1)
        return;
    clock_gettime(CLOCK_REALTIME, &now);
    int length = snprintf(line, sizeof line, "%lld.%09ld usb %s\n", (long long)now.tv_sec,
                          now.tv_nsec, what);
    if (write(fd, line, (size_t)length) == -1)
        abort();
    close(fd);
}

int LIBUSB_CALL libusb_init(libusb_context **context)
{
    read_control_file();
    if (context != NULL)
        abort(); /* the default context is a null pointer */
    if (init_code < 0)
        log_call("failed");
    return init_code;
}

ssize_t LIBUSB_CALL libusb_get_device_list(libusb_context *context, libusb_device ***list)
{
    (void)context;
    if (list_code < 0)
        return list_code;
    *list = calloc((size_t)device_count + 1, sizeof **list);
    if (*list == NULL)
        return LIBUSB_ERROR_NO_MEM;
    for (int i = 0; i < device_count; ++i)
        (*list)[i] = &devices[i];
    ++open_lists;
    return device_count;
}

int LIBUSB_CALL libusb_get_device_descriptor(libusb_device *device,
                                             struct libusb_device_descriptor *descriptor)
{
    memset(descriptor, 0, sizeof *descriptor);
    descriptor->idVendor = device->vendor;
    descriptor->idProduct = device->product;
    return 0;
}

void LIBUSB_CALL libusb_free_device_list(libusb_device **list, int unref_devices)
{
    if (list != NULL && unref_devices == 1)
        --open_lists;
    free(list);
}

void LIBUSB_CALL libusb_exit(libusb_context *context)
{
    (void)context;
    log_call(open_lists == 0 ? "balanced" : "leak");
}
