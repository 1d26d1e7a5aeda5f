// The state of a network interface, its routes and name servers.
#pragma once

#include <QByteArray>
#include <QString>

namespace linkstate
{

/** Return the IPv4 address of an interface; empty if there is none. */
[[nodiscard]] QString addressOf(const char *interface);

/** Return the interface of the default route with the lowest metric; empty if there is none. */
[[nodiscard]] QByteArray defaultInterface();

/** Return the name servers of /etc/resolv.conf, separated by spaces, without the address of
 *  systemd-resolved (127.0.0.53). */
[[nodiscard]] QByteArray nameServers();

} // namespace linkstate
