#include "peerfile.h"

#include "paramlist.h"

namespace
{

constexpr int Auto = 0;
constexpr int Pap = 1;
constexpr int Chap = 2;

} // namespace

QStringList peerFileLines(const QStringList &paramList, const QString &dnsAddress)
{
    using namespace ParamList;
    const int method = authMethod(paramList);

    QStringList lines{QStringLiteral("/dev/ttyUSB0"), QStringLiteral("115200"),
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
          << QStringLiteral("ms-dns ") + dnsAddress << QStringLiteral("logfile /etc/ppp/ppp.log")
          << QStringLiteral("connect 'chat -t5 -E -v -f /etc/ppp/chat/chat 2>/etc/ppp/chat.log'");
    return lines;
}
