// What a modem's answer to AT+CSQ says about the received signal.
#pragma once

#include <QByteArray>
#include <QString>

struct SignalReply {
    QString text;          ///< the whole chunk, line breaks and result code included
    bool noSignal = false; ///< the figure is 99: not known or not detectable
    int percent = 0;       ///< trunc(rssi / 31 * 100); 0 when the figure is not a number
};

/**
 * Reads the rssi figure of a +CSQ response (3GPP TS 27.007, command echo off): exactly the two
 * characters at index 8 and 9.
 * @param chunk the bytes of one read, 1 to 128; a shorter answer gives a shorter figure
 */
SignalReply parseSignalReply(const QByteArray &chunk);
