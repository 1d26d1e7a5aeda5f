// Parses a modem's response to AT+CSQ (received signal strength).
#pragma once

#include <QByteArray>
#include <QString>

struct CsqResponse {
    QString text;          ///< the whole chunk, including line breaks
    bool noSignal = false; ///< RSSI is 99: unknown or not detectable
    int percent = 0;       ///< trunc(rssi / 31 * 100); 0 if RSSI is not a number
};

/**
 * Parse the RSSI of a +CSQ response (3GPP TS 27.007 (Release 17), 8.5): exactly the two characters
 * at index 8 and 9, after "\r\n+CSQ: " (ITU-T V.250 (07/2003), 5.7.1; command echo off).
 * @param chunk bytes of one read (1 to 128); if there are fewer than 10, the RSSI has one character
 *        or none
 */
[[nodiscard]] CsqResponse parseCsqResponse(const QByteArray &chunk);
