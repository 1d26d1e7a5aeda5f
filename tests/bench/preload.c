/* Library that is preloaded into a measured program: it simulates a panel with files and records
 * the event loop.
 *
 * A regular file is the frame buffer for Qt's linuxfb plugin. A FIFO of struct input_event is the
 * multi-touch screen for Qt's evdev handler (type B, positions in pixels). Each wait of the main
 * thread in GLib's event loop adds an entry to the journal /testrun/loop; a wait of QProcess does
 * not. With CORVANTA_BENCH_STOP the process exits when it is first idle after it has painted the
 * panel.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/fb.h>
#include <linux/input.h>
#include <poll.h>
#include <signal.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

enum { Width = 800, Height = 480, Middle = (Height / 2 * Width + Width / 2) * 4 };

/* Read by root.py; times in nanoseconds of CLOCK_REALTIME. */
struct wait {
    int64_t begin;
    int64_t end;  /* 0 while the wait lasts */
    int64_t cpu;  /* CPU time so far of the process and of the commands it has waited for */
    int64_t idle; /* 1 when the panel was painted and the process had no work */
};
static int framebuffer = -1;
static int journal = -1;

__attribute__((constructor)) static void openJournal(void)
{
    if (getenv("CORVANTA_BENCH_STOP") == NULL) /* valgrind's launcher must pass it on */
        unsetenv("LD_PRELOAD");
    journal = open("/testrun/loop", O_WRONLY | O_CLOEXEC);
}

int ioctl(int fd, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (request == FBIOGET_VSCREENINFO) {
        framebuffer = fd;
        *(struct fb_var_screeninfo *)argument =
            (struct fb_var_screeninfo){.xres = Width,
                                       .yres = Height,
                                       .xres_virtual = Width,
                                       .yres_virtual = Height,
                                       .bits_per_pixel = 32,
                                       .red = {.offset = 16, .length = 8},
                                       .green = {.offset = 8, .length = 8},
                                       .blue = {.offset = 0, .length = 8}};
        return 0;
    }
    if (request == FBIOGET_FSCREENINFO) {
        *(struct fb_fix_screeninfo *)argument =
            (struct fb_fix_screeninfo){.line_length = Width * 4,
                                       .smem_len = Width * 4 * Height,
                                       .visual = FB_VISUAL_TRUECOLOR};
        return 0;
    }
    if (_IOC_TYPE(request) == 'E') { /* a touch screen with all axes; a grab succeeds */
        if (_IOC_DIR(request) == _IOC_READ)
            memset(argument, _IOC_NR(request) == _IOC_NR(EVIOCGBIT(EV_ABS, 0)) ? 0xff : 0,
                   _IOC_SIZE(request));
        if (request == EVIOCGABS(ABS_MT_POSITION_X))
            ((struct input_absinfo *)argument)->maximum = Width - 1;
        if (request == EVIOCGABS(ABS_MT_POSITION_Y))
            ((struct input_absinfo *)argument)->maximum = Height - 1;
        return 0;
    }
    int (*next)(int, unsigned long, ...) = dlsym(RTLD_NEXT, "ioctl");
    return next(fd, request, argument);
}

static int64_t now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_REALTIME, &time);
    return time.tv_sec * 1000000000LL + time.tv_nsec;
}

static int64_t cpuTime(int who)
{
    struct rusage usage;
    getrusage(who, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000000000LL +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1000LL;
}

/** Return 1 once the middle of the panel has had another colour than black. */
static int isPainted(void)
{
    static int painted;
    unsigned char pixel[4] = {0};
    if (!painted && pread(framebuffer, pixel, sizeof pixel, Middle) == sizeof pixel)
        painted = pixel[0] != 0 || pixel[1] != 0 || pixel[2] != 0;
    return painted;
}

static off_t entry;

static void store(const struct wait *wait)
{
    if (pwrite(journal, wait, sizeof *wait, entry) == -1)
        abort();
}

/** Return 1 for a call by the main thread, but not by QProcess. @param caller its return address */
static int isRecorded(void *caller)
{
    static void *known[2]; /* the last callers, because dladdr() is slow: of QProcess, of GLib */
    if (gettid() != getpid())
        return 0;
    for (int recorded = 0; recorded < 2; ++recorded)
        if (caller == known[recorded])
            return recorded;
    Dl_info library;
    const int recorded =
        dladdr(caller, &library) != 0 && strstr(library.dli_fname, "/libQt6Core.") == NULL;
    known[recorded] = caller;
    return recorded;
}

/** Start an entry of the journal. @param blocks 0 if the call returns at once */
static struct wait beginWait(int blocks)
{
    const struct wait wait = {now(), 0, cpuTime(RUSAGE_SELF) + cpuTime(RUSAGE_CHILDREN),
                              blocks && isPainted()};
    store(&wait);
    if (wait.idle && getenv("CORVANTA_BENCH_STOP") != NULL)
        _exit(0);
    return wait;
}

static void endWait(struct wait *wait)
{
    const int error = errno;
    wait->end = now();
    store(wait);
    entry += sizeof *wait;
    errno = error;
}

int poll(struct pollfd *fds, nfds_t count, int timeout) /* GLib of Debian 12 */
{
    static int (*next)(struct pollfd *, nfds_t, int);
    if (next == NULL)
        next = dlsym(RTLD_NEXT, "poll");
    if (!isRecorded(__builtin_return_address(0)))
        return next(fds, count, timeout);
    struct wait wait = beginWait(timeout != 0);
    const int ready = next(fds, count, timeout);
    endWait(&wait);
    return ready;
}

int ppoll(struct pollfd *fds, nfds_t count, const struct timespec *timeout, const sigset_t *mask)
{ /* GLib of Debian 13 */
    static int (*next)(struct pollfd *, nfds_t, const struct timespec *, const sigset_t *);
    if (next == NULL)
        next = dlsym(RTLD_NEXT, "ppoll");
    if (!isRecorded(__builtin_return_address(0)))
        return next(fds, count, timeout, mask);
    struct wait wait = beginWait(timeout == NULL || timeout->tv_sec != 0 || timeout->tv_nsec != 0);
    const int ready = next(fds, count, timeout, mask);
    endWait(&wait);
    return ready;
}
