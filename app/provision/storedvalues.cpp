#include "app/provision/storedvalues.h"

#include "core/boardpaths.h"
#include "core/chatscript.h"
#include "core/peerfile.h"
#include "io/linefile.h"

#include <cstring>

namespace storedvalues
{

namespace
{

QString read(const char *path, const QStringList &defaults, QStringList &list)
{
    const linefile::ReadResult content = linefile::read(path);
    if (content.state == linefile::ReadResult::Unreadable)
        return QStringLiteral("could not read %1: %2")
            .arg(QLatin1String(path), QString::fromLocal8Bit(std::strerror(content.error)));
    list = content.state == linefile::ReadResult::Complete ? paramlist::parseLines(content.bytes)
                                                           : defaults;
    return {};
}

} // namespace

QString load(paramlist::ScreenValues &values)
{
    QStringList dialUp;
    QStringList autoConnect;
    QString error = read(boardpaths::ParameterFile, paramlist::dialUpDefaults(), dialUp);
    if (error.isEmpty())
        error = read(boardpaths::AutoConnectFile, paramlist::autoConnectDefaults(), autoConnect);
    if (!error.isEmpty())
        return error;
    dialUp.append(paramlist::dialUpDefaults().mid(dialUp.size()));
    values.dialUp = *paramlist::dialUpValues(dialUp);
    // The panel shows neither choice and no Counts if the file is too short.
    values.autoConnect =
        paramlist::autoConnectValues(autoConnect).value_or(paramlist::AutoConnectValues{});
    int &method = values.dialUp.authMethod;
    if (method < 0 || method >= paramlist::MethodCount)
        method = -1; // The panel's list selects no row then.
    return {};
}

QList<File> parameterFiles(const paramlist::ScreenValues &values)
{
    return {{boardpaths::ParameterFile, paramlist::dialUpLines(values.dialUp)},
            {boardpaths::AutoConnectFile, paramlist::autoConnectLines(values.autoConnect)}};
}

QList<File> generatedFiles(const paramlist::ScreenValues &values)
{
    const QStringList dialUp = paramlist::dialUpLines(values.dialUp);
    return {{boardpaths::PeerFile, peerFileLines(dialUp, QStringLiteral(CORVANTA_DNS_ADDRESS))},
            {boardpaths::ChatScript, chatScriptLines(dialUp)}};
}

} // namespace storedvalues
