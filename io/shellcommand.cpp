#include "io/shellcommand.h"

#include <QLoggingCategory>
#include <QProcess>
#include <algorithm>

namespace
{

// Off by default; Qt's logging rules can enable it.
Q_LOGGING_CATEGORY(log, "corvanta.commands", QtFatalMsg)

constexpr int NoTimeout = -1;
constexpr int KillTimeoutMs = 500;

/** @return exit status; -1 when the program could not be started, was killed or is still running */
int run(QProcess &process, const QString &program, const QStringList &arguments, int timeoutMs)
{
    // /dev/null: a command that reads standard input must not block.
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(program, arguments, QIODevice::ReadWrite);
    const bool finished = process.waitForFinished(timeoutMs);
    // exitCode() is 0 if the process could not be started.
    return finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

int run(QProcess &process, const QString &commandLine)
{
    return run(process, QStringLiteral("sh"), {QStringLiteral("-c"), commandLine}, NoTimeout);
}

void appendBounded(QByteArray &kept, const QByteArray &more)
{
    kept.append(more.left(std::max<qsizetype>(MaxOutputBytes - kept.size(), 0)));
}

/** @return the result of a program; one that is still running is killed */
ShellResult runForOutput(const QString &program, const QStringList &arguments, int timeoutMs)
{
    ShellResult result;
    QProcess process;
    const auto keepOutput = [&] {
        appendBounded(result.standardOutput, process.readAllStandardOutput());
    };
    const auto keepErrors = [&] {
        appendBounded(result.standardError, process.readAllStandardError());
    };
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process, keepOutput);
    QObject::connect(&process, &QProcess::readyReadStandardError, &process, keepErrors);
    result.status = run(process, program, arguments, timeoutMs);
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished(KillTimeoutMs);
    }
    return result;
}

} // namespace

int runShell(const QString &commandLine)
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    if (log().isWarningEnabled()) {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        // Ignore SIGPIPE: pppd may outlive both the program and the reader of its standard error.
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
        process.setUnixProcessParameters(QProcess::UnixProcessFlag::IgnoreSigPipe);
        return run(process, commandLine);
#else
        return run(process, QStringLiteral("trap '' PIPE; ") + commandLine);
#endif
    }
    process.setStandardErrorFile(QProcess::nullDevice());
    return run(process, commandLine);
}

ShellResult runShellForOutput(const QString &commandLine)
{
    return runForOutput(QStringLiteral("sh"), {QStringLiteral("-c"), commandLine}, NoTimeout);
}

ShellResult runProgram(const QString &program, const QStringList &arguments,
                       std::chrono::milliseconds timeout)
{
    return runForOutput(program, arguments, static_cast<int>(timeout.count()));
}
