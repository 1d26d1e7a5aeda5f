#include "io/storedvalues.h"

#include "core/boardpaths.h"
#include "core/chatscript.h"
#include "core/lineencoding.h"
#include "core/peerfile.h"
#include "io/linefile.h"

#include <algorithm>
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

bool hasEntries(const char *secretsFile)
{
    const QList<QByteArray> lines = linefile::read(QLatin1String(secretsFile)).bytes.split('\n');
    return std::any_of(lines.begin(), lines.end(), [](const QByteArray &line) {
        const QByteArray text = line.trimmed();
        return !text.isEmpty() && !text.startsWith('#');
    });
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
        method = -1; // The panel's combo box then selects no row.
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

Agreement compare(const File &file)
{
    const linefile::ReadResult content = linefile::read(QLatin1String(file.path));
    if (content.state == linefile::ReadResult::Missing)
        return Agreement::Missing;
    const bool agrees = content.state == linefile::ReadResult::Complete &&
                        content.bytes == lineencoding::encodeLines(file.lines);
    return agrees ? Agreement::Agrees : Agreement::Differs;
}

dialcheck::NetworkSecrets networkSecrets()
{
    return {hasEntries("/etc/ppp/pap-secrets"), hasEntries("/etc/ppp/chap-secrets")};
}

} // namespace storedvalues
