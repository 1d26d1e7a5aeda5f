/* Makes every socketpair fail, as in a process that has run out of descriptors. */
#include <errno.h>
#include <sys/socket.h>

int socketpair(int domain, int type, int protocol, int pair[2])
{
    (void)domain;
    (void)type;
    (void)protocol;
    (void)pair;
    errno = EMFILE;
    return -1;
}
