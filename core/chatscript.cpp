#include "core/chatscript.h"

#include "core/paramlist.h"

QStringList chatScriptLines(const QStringList &paramList)
{
    using namespace paramlist;
    const QString apn = trimmed(dialUpEntry(paramList, Apn));
    const QString dialNumber = trimmed(dialUpEntry(paramList, DialNumber));
    const QString pin = trimmed(dialUpEntry(paramList, Pin));

    QStringList lines{
        QStringLiteral("ABORT 'BUSY'"),
        QStringLiteral("ABORT 'NO CARRIER'"),
        QStringLiteral("ABORT 'VOICE'"),
        QStringLiteral("ABORT 'NO DIALTONE'"),
        QStringLiteral("ABORT 'NO DIAL TONE'"),
        QStringLiteral("ABORT 'NO ANSWER'"),
        QStringLiteral("ABORT 'DELAYED'"),
        QStringLiteral("ABORT   ERROR"),
        QStringLiteral("REPORT  CONNECT"),
        QStringLiteral("TIMEOUT 3"),
        QStringLiteral("'' ''"),
    };
    if (pin.isEmpty()) {
        lines << QStringLiteral("'' 'ATZ'");
    } else {
        // Not arg(): a value may contain a place marker such as %1.
        lines << QStringLiteral("'' 'AT+CPIN=\"") + pin + QStringLiteral("\"'")
              << QStringLiteral("'ERROR-AT-OK' 'ATZ'");
    }
    lines << QStringLiteral("'OK' 'ATI'") << QStringLiteral("'OK' 'AT+COPS?'")
          << QStringLiteral("'OK' 'AT+CGDCONT=1,\"IP\",\"") + apn + QStringLiteral("\"'")
          << QStringLiteral("'OK' '\"ATD") + dialNumber + QStringLiteral("\"'");
    return lines;
}
