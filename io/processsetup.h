// Corrects the process state inherited from the parent process.
#pragma once

/**
 * Set up standard descriptors and signals, independently of the parent process. Call this first in
 * main().
 * - File descriptors 0 to 2 are open, so that no other file gets one of these numbers.
 * - No signal is blocked. SIGCHLD has its default action, so that commands can be waited for.
 *   SIGPIPE is ignored, so that writing to a closed pipe does not kill the program. SIGUSR1 is
 *   ignored until its handler is installed.
 * - stdout and stderr do not block: output that a stalled reader does not accept is dropped.
 */
void setUpProcess();
