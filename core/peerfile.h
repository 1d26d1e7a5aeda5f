// Generates the peer file, the options for pppd (pppd(8), OPTIONS FILES).
#pragma once

#include <QString>
#include <QStringList>

/**
 * Generate the lines of the peer file, without newlines: 14, or 15 with PAP or CHAP.
 * @param paramList dial-up list (paramlist); user name and password are trimmed, but neither
 *        quoted nor escaped
 * @param dnsAddress IPv4 address of a DNS server, in dotted decimal
 */
[[nodiscard]] QStringList peerFileLines(const QStringList &paramList, const QString &dnsAddress);
