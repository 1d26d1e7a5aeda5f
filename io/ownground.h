// What a process inherits from whoever starts it.
#pragma once

/**
 * Makes the process independent of how it was started. To be called first in main().
 * - The descriptors 0 to 2 are open, so that no file or device is taken for one of them.
 * - No signal is blocked. SIGCHLD is not ignored: commands could not be waited for. SIGPIPE is: a
 *   reader of the output that has gone ends nothing. SIGUSR1 is, until it has a handler.
 * - A reader of the output that does not read stops nothing: what does not fit is dropped.
 */
void makeOwnGround();
