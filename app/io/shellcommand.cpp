#include "shellcommand.h"

#include <QProcess>

ShellResult runShell(const QString &commandLine)
{
    QProcess process;
    process.start(QStringLiteral("sh"), {QStringLiteral("-c"), commandLine}, QIODevice::ReadWrite);
    process.closeWriteChannel(); // A command that reads its input must not wait for ever.
    const bool finished = process.waitForFinished(-1);

    ShellResult result;
    // A process that never started has exit code 0, which would read as success.
    if (finished && process.exitStatus() == QProcess::NormalExit)
        result.status = process.exitCode();
    result.output = process.readAllStandardOutput();
    result.errors = process.readAllStandardError();
    return result;
}
