// External commands, run through the shell. What they complain about follows the warnings of the
// logging category "corvanta.commands", which is off by default.
#pragma once

#include <QByteArray>
#include <QString>

/** What a command has left; of each output at most MaxOutputBytes. */
struct ShellResult {
    int status = -1;   ///< exit status; -1 when the shell could not be started or was killed
    QByteArray output; ///< standard output
    QByteArray errors; ///< standard error
};

inline constexpr qsizetype MaxOutputBytes = 1 << 16;

/**
 * Runs "sh -c" with a command line and waits for the shell without a time limit. Processes that the
 * command leaves in the background go on; nobody waits for them. Nothing of what it prints is kept,
 * now or later, and what it reads is empty. With "corvanta.commands" switched on, its standard
 * error is that of the program.
 * @return exit status; -1 when the shell could not be started or was killed
 */
int runShell(const QString &commandLine);

/** Like runShell(), but keeps the beginning of what the command prints. */
ShellResult runShellForOutput(const QString &commandLine);
