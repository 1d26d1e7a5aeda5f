// Checks how pppd and chat interpret the parameters, without dialling. docs/dialling.md has the
// measurements.
#pragma once

#include "core/paramlist.h"

#include <QList>
#include <QString>

namespace dialcheck
{

/** One finding about the values. It never contains the password or the PIN. */
struct Finding {
    QString text;      ///< a sentence without a full stop
    bool dials = true; ///< false when pppd or chat fails because of it
};

/** Secrets of the network, which the methods other than AUTO need. */
struct NetworkSecrets {
    bool pap = false;  ///< /etc/ppp/pap-secrets has entries
    bool chap = false; ///< /etc/ppp/chap-secrets has entries
};

/**
 * Check the values as they are stored.
 * @return one finding for each value that pppd, chat or the SIM rejects or changes, or with which
 *         the link cannot come up on some networks
 */
QList<Finding> check(const paramlist::DialUpValues &values, NetworkSecrets secrets);

} // namespace dialcheck
