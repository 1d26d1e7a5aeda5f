// The peer file from which pppd takes its options, as lines of text.
#pragma once

#include <QString>
#include <QStringList>

/**
 * Lines of the peer file, without line ends: 14, or 15 with PAP or CHAP.
 * @param paramList dial-up list (paramlist); user name and password are trimmed, but neither
 *        quoted nor escaped
 * @param dnsAddress IPv4 address of a DNS server, in dotted decimal
 */
QStringList peerFileLines(const QStringList &paramList, const QString &dnsAddress);
