// The chat script that dials the modem, as lines of text.
#pragma once

#include <QStringList>

/**
 * Lines of the chat script, without line ends: 16, or 17 with a PIN.
 * @param paramList the dial-up list (ParamList); its APN, dial number and PIN are trimmed and
 *        inserted as they are, quote characters included
 */
QStringList chatScriptLines(const QStringList &paramList);
