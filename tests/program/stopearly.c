/* Sends SIGTERM to the program right after it has installed its signal handlers. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <signal.h>

int sigaction(int number, const struct sigaction *action, struct sigaction *earlier)
{
    static int (*real)(int, const struct sigaction *, struct sigaction *);
    if (real == NULL)
        real = (int (*)(int, const struct sigaction *, struct sigaction *))dlsym(RTLD_NEXT,
                                                                                 "sigaction");
    const int result = real(number, action, earlier);
    if (number == SIGHUP && action != NULL && action->sa_handler != SIG_DFL)
        raise(SIGTERM);
    return result;
}
