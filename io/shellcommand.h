// External commands, run through the shell.
#pragma once

#include <QByteArray>
#include <QString>

struct ShellResult {
    int status = -1;   ///< exit status; -1 when the shell could not be started or was killed
    QByteArray output; ///< standard output, whole
    QByteArray errors; ///< standard error, whole
};

/**
 * Runs "sh -c" with a command line and waits for the shell without a time limit. Processes that the
 * command leaves in the background go on; nobody waits for them.
 */
ShellResult runShell(const QString &commandLine);
