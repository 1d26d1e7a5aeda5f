#include "io/linkstate.h"

#include "io/linefile.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>

namespace linkstate
{

QString addressOf(const char *interface)
{
    ifaddrs *list = nullptr;
    if (::getifaddrs(&list) == -1)
        return {};
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(list, &::freeifaddrs);
    for (const ifaddrs *entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET ||
            (entry->ifa_flags & IFF_UP) == 0 || qstrcmp(entry->ifa_name, interface) != 0)
            continue;
        char text[INET_ADDRSTRLEN] = "";
        const auto *address = reinterpret_cast<const sockaddr_in *>(entry->ifa_addr);
        ::inet_ntop(AF_INET, &address->sin_addr, text, sizeof text);
        return text;
    }
    return {};
}

QByteArray defaultInterface()
{
    // proc_pid_net(5): interface, destination, gateway, flags, 2 counts, metric, mask.
    QByteArray winner;
    int lowest = 0;
    for (const QByteArray &line : linefile::read("/proc/net/route").bytes.split('\n')) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        const int metric = fields.value(6).toInt();
        const bool isDefault = fields.value(1) == "00000000" && fields.value(7) == "00000000";
        if (isDefault && (winner.isEmpty() || metric < lowest)) {
            winner = fields[0];
            lowest = metric;
        }
    }
    return winner;
}

QByteArray nameServers()
{
    QByteArray servers;
    for (const QByteArray &line : linefile::read("/etc/resolv.conf").bytes.split('\n')) {
        const QList<QByteArray> words = line.simplified().split(' ');
        if (words[0] == "nameserver" && !words.value(1).startsWith("127."))
            servers += words.value(1) + ' ';
    }
    return servers.trimmed();
}

} // namespace linkstate
