// The chat script that dials the modem, as lines of text.
#pragma once

#include <QStringList>

/**
 * Lines of the chat script, without line ends: 16, or 17 with a PIN.
 * @param paramList dial-up list (paramlist); APN, dial number and PIN are trimmed, but neither
 *        quoted nor escaped
 */
QStringList chatScriptLines(const QStringList &paramList);
