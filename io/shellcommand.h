// Runs external commands, most of them through the shell. Their standard error is forwarded only if
// the logging category "corvanta.commands" is enabled; it is off by default.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <chrono>

/** Result of a command; each output is truncated to MaxOutputBytes. */
struct ShellResult {
    int status = -1; ///< exit status; -1 when the program was not started or a signal killed it
    QByteArray standardOutput;
    QByteArray standardError;
};

inline constexpr qsizetype MaxOutputBytes = 1 << 16;

/**
 * Run a command line with "sh -c" and wait for the shell, without a timeout. Background processes
 * started by the command keep running. Standard input and output are /dev/null. Standard error is
 * that of the program if "corvanta.commands" is enabled, otherwise /dev/null.
 * @return exit status; -1 when the shell could not be started or was killed by a signal
 */
int runShell(const QString &commandLine);

/** Like runShell(), but capture the first MaxOutputBytes of standard output and of standard error.
 */
[[nodiscard]] ShellResult runShellForOutput(const QString &commandLine);

/**
 * Run a program without a shell and capture the first MaxOutputBytes of standard output and of
 * standard error. The program is killed when the timeout expires; the status is then -1.
 */
[[nodiscard]] ShellResult runProgram(const QString &program, const QStringList &arguments,
                                     std::chrono::milliseconds timeout);
