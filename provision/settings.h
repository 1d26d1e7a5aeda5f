// What a command line or a file of NAME=VALUE says about the parameters.
#pragma once

#include "core/paramlist.h"

#include <QByteArray>
#include <QString>

namespace settings
{

/** One line of help for each name. */
QString help();

/**
 * Takes over one setting.
 * @param setting "NAME=VALUE" in UTF-8; the value is taken as it stands
 * @param asIs true to store a user name or password that pppd would take for more than one word
 * @return what is wrong with it, in a sentence, or nothing; then the values are unchanged. A value
 *         is wrong when the panel would not show it again as it is.
 */
QString apply(const QByteArray &setting, bool asIs, paramlist::ScreenValues &values);

} // namespace settings
