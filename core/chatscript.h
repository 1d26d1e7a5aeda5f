// Generates the chat script that dials the modem (chat(8), CHAT SCRIPT).
#pragma once

#include <QStringList>

/**
 * Generate the lines of the chat script, without newlines: 16, or 17 with a PIN.
 *
 * The script sends ATZ, ATI and ATD (ITU-T V.250 (07/2003), 6.1.1, 6.1.3, 6.3.1), and +CPIN, +COPS
 * and +CGDCONT (3GPP TS 27.007 (Release 17), 8.3, 7.3, 10.1.1).
 * @param paramList dial-up list (paramlist); APN, dial number and PIN are trimmed, but neither
 *        quoted nor escaped
 */
[[nodiscard]] QStringList chatScriptLines(const QStringList &paramList);
