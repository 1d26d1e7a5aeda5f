#include "io/shellcommand.h"

#include <QLoggingCategory>
#include <QProcess>
#include <algorithm>

namespace
{

// What a command complains about goes nowhere unless Qt's logging rules ask for it.
Q_LOGGING_CATEGORY(log, "corvanta.commands", QtFatalMsg)

/** @return exit status; -1 when the shell could not be started or was killed */
int run(QProcess &process, const QString &commandLine)
{
    // A command that reads its input must not wait for ever.
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(QStringLiteral("sh"), {QStringLiteral("-c"), commandLine}, QIODevice::ReadWrite);
    const bool finished = process.waitForFinished(-1);
    // After a failed start exitCode() is 0.
    return finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

void appendBounded(QByteArray &kept, const QByteArray &more)
{
    kept.append(more.left(std::max<qsizetype>(MaxOutputBytes - kept.size(), 0)));
}

} // namespace

int runShell(const QString &commandLine)
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    if (log().isWarningEnabled()) {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        // pppd outlives the program, and may outlive the reader of what it prints.
        return run(process, QStringLiteral("trap '' PIPE; ") + commandLine);
    }
    process.setStandardErrorFile(QProcess::nullDevice());
    return run(process, commandLine);
}

ShellResult runShellForOutput(const QString &commandLine)
{
    ShellResult result;
    QProcess process;
    const auto keepOutput = [&] { appendBounded(result.output, process.readAllStandardOutput()); };
    const auto keepErrors = [&] { appendBounded(result.errors, process.readAllStandardError()); };
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process, keepOutput);
    QObject::connect(&process, &QProcess::readyReadStandardError, &process, keepErrors);
    result.status = run(process, commandLine);
    return result;
}
