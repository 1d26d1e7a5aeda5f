#include "core/peerfile.h"

#include "core/boardpaths.h"
#include "core/paramlist.h"

QStringList peerFileLines(const QStringList &paramList, const QString &dnsAddress)
{
    using namespace paramlist;
    const int method = authMethod(paramList);

    QStringList lines{QString::fromLatin1(boardpaths::ModemPort), QStringLiteral("115200"),
                      QStringLiteral("usepeerdns")};
    lines << (method == Auto ? QStringLiteral("noauth") : QStringLiteral("auth"));
    if (method == Pap)
        lines << QStringLiteral("+pap");
    if (method == Chap)
        lines << QStringLiteral("+chap");
    lines << QStringLiteral("noipdefault") << QStringLiteral("defaultroute")
          << QStringLiteral("crtscts") << QStringLiteral("persist") << QStringLiteral("debug")
          << QStringLiteral("user ") + trimmed(dialUpEntry(paramList, User))
          << QStringLiteral("password ") + trimmed(dialUpEntry(paramList, Password))
          << QStringLiteral("ms-dns ") + dnsAddress
          << QStringLiteral("logfile %1").arg(QLatin1String(boardpaths::PppLog))
          << QStringLiteral("connect 'chat -t5 -E -v -f %1 2>%2'")
                 .arg(QLatin1String(boardpaths::ChatScript), QLatin1String(boardpaths::ChatLog));
    return lines;
}
