#include "io/shellcommand.h"

#include <QProcess>

ShellResult runShell(const QString &commandLine)
{
    QProcess process;
    process.start(QStringLiteral("sh"), {QStringLiteral("-c"), commandLine}, QIODevice::ReadWrite);
    process.closeWriteChannel(); // A command that reads its input must not wait for ever.
    const bool finished = process.waitForFinished(-1);

    ShellResult result;
    // After a failed start exitCode() is 0.
    if (finished && process.exitStatus() == QProcess::NormalExit)
        result.status = process.exitCode();
    result.output = process.readAllStandardOutput();
    result.errors = process.readAllStandardError();
    return result;
}
