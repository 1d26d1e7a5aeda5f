#include "io/linkstate.h"

#include "io/filedescriptor.h"
#include "io/linefile.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/ioctl.h>

namespace linkstate
{

constexpr char ResolvedStub[] = "127.0.0.53"; // systemd-resolved

QString addressOf(const char *interface)
{
    const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request{};
    qstrncpy(request.ifr_name, interface, sizeof request.ifr_name);
    if (::ioctl(socket.get(), SIOCGIFADDR, &request) == -1)
        return {};
    return ::inet_ntoa(reinterpret_cast<const sockaddr_in &>(request.ifr_addr).sin_addr);
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
        if (words[0] == "nameserver" && words.value(1) != ResolvedStub)
            servers += words.value(1) + ' ';
    }
    return servers.trimmed();
}

} // namespace linkstate
