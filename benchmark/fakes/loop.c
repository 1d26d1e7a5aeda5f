/* Keeps a journal of the event loop: when the main thread went to wait, when it came back, and what
 * the process had spent until then.
 *
 * Preloaded into a program whose event loop is GLib's, which waits in poll(); a QProcess waits in
 * ppoll(). CORVANTA_BENCH_LOOP names the journal, a file of any size that exists; CORVANTA_BENCH_FB
 * the framebuffer. CORVANTA_BENCH_STOP=N ends the process when it is idle on a painted panel for
 * the Nth time. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

/* Read by journal.py; times in nanoseconds. */
struct entry {
    int64_t waits;    /* CLOCK_MONOTONIC when the wait began */
    int64_t back;     /* and when it ended; 0 while it lasts */
    int64_t own;      /* processor time of the process until the wait */
    int64_t children; /* and of the children that it has waited for */
    int32_t timeout;  /* of poll(), in milliseconds */
    int32_t painted;  /* whether the panel's middle is other than black */
};

struct journal {
    int64_t count;
    struct entry entries[];
};

static struct journal *journal;
static int64_t capacity; /* of entries; those after it are lost */
static int framebuffer = -1;
static off_t middle;
static int painted;
static long idleWaitsLeft; /* 0 for ever */
static int (*nextPoll)(struct pollfd *, nfds_t, int);

static int openNamed(const char *variable, int mode)
{
    const char *path = getenv(variable);
    return path != NULL ? open(path, mode | O_CLOEXEC) : -1;
}

__attribute__((constructor)) static void openJournal(void)
{
    const char *stop = getenv("CORVANTA_BENCH_STOP");
    struct stat size, panel;
    nextPoll = (int (*)(struct pollfd *, nfds_t, int))dlsym(RTLD_NEXT, "poll");
    idleWaitsLeft = stop != NULL ? atol(stop) : 0;
    /* The commands that the program runs are not looked at. Valgrind has a starter, which has to
     * hand the environment on. */
    if (stop == NULL)
        unsetenv("LD_PRELOAD");
    const int file = openNamed("CORVANTA_BENCH_LOOP", O_RDWR);
    framebuffer = openNamed("CORVANTA_BENCH_FB", O_RDONLY);
    if (fstat(file, &size) == -1 || fstat(framebuffer, &panel) == -1)
        abort();
    middle = panel.st_size / 8 * 4;
    capacity = (size.st_size - (off_t)sizeof *journal) / (off_t)sizeof *journal->entries;
    journal = mmap(NULL, size.st_size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (journal == MAP_FAILED)
        abort();
    close(file);
}

static int64_t now(clockid_t clock)
{
    struct timespec time;
    clock_gettime(clock, &time);
    return time.tv_sec * 1000000000LL + time.tv_nsec;
}

static int64_t ofChildren(void)
{
    struct rusage usage;
    getrusage(RUSAGE_CHILDREN, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000000000LL +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1000LL;
}

static int isPainted(void)
{
    unsigned char pixel[4] = {0};
    if (!painted && pread(framebuffer, pixel, sizeof pixel, middle) == sizeof pixel)
        painted = pixel[0] != 0 || pixel[1] != 0 || pixel[2] != 0;
    return painted;
}

int poll(struct pollfd *fds, nfds_t count, int timeout)
{
    if (gettid() != getpid() || journal->count == capacity)
        return nextPoll(fds, count, timeout);
    struct entry *entry = &journal->entries[journal->count];
    entry->waits = now(CLOCK_MONOTONIC);
    entry->own = now(CLOCK_PROCESS_CPUTIME_ID);
    entry->children = ofChildren();
    entry->timeout = timeout;
    entry->painted = isPainted();
    ++journal->count;
    if (painted && timeout != 0 && idleWaitsLeft > 0 && --idleWaitsLeft == 0)
        _exit(0);
    const int ready = nextPoll(fds, count, timeout);
    const int error = errno;
    entry->back = now(CLOCK_MONOTONIC);
    errno = error;
    return ready;
}
