// What pppd and chat make of the parameters, without dialling: see docs/dialling.md for the
// measurements behind it.
#pragma once

#include "core/paramlist.h"

#include <QList>
#include <QString>

namespace dialcheck
{

/** One remark on the values. It never contains the password or the PIN. */
struct Finding {
    QString text;      ///< a sentence without a full stop
    bool dials = true; ///< false when pppd or chat fails because of it
};

/** Secrets of the network, which the methods other than AUTO need. */
struct NetworkSecrets {
    bool pap = false;  ///< /etc/ppp/pap-secrets has entries
    bool chap = false; ///< /etc/ppp/chap-secrets has entries
};

/** Check the values as they are stored. @return nothing when pppd and chat read them unchanged */
QList<Finding> check(const paramlist::DialUpValues &values, NetworkSecrets secrets);

} // namespace dialcheck
