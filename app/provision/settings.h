// The settings of corvanta-provision, NAME=VALUE.
#pragma once

#include "core/paramlist.h"

#include <QByteArray>
#include <QString>

namespace settings
{

/** Return the help text, one line for each name. */
QString help();

/** Return the values as lines NAME=VALUE; stars stand for the password and the PIN. */
QString listed(const paramlist::ScreenValues &values);

/**
 * Apply one setting.
 * @param setting "NAME=VALUE" in UTF-8; the value is used unchanged
 * @param asIs true to accept a user name or password that pppd reads as more than one word
 * @return empty on success; otherwise an error message, which never contains the value, and the
 *         values are unchanged. A value is rejected if the panel would not show it unchanged.
 */
[[nodiscard]] QString apply(const QByteArray &setting, bool asIs, paramlist::ScreenValues &values);

} // namespace settings
