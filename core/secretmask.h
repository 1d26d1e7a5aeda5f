// Masks secrets in files that leave the board.
#pragma once

#include <QByteArray>
#include <QList>

/**
 * Replace secrets by stars: the PIN in AT commands, user names and passwords of pppd's options and
 * messages, and numbers that may be a phone number, IMSI, ICCID or IMEI (7 digits or more, or 16
 * hexadecimal ones, which CHAP responses are, too).
 * @param text content of a file in any encoding
 * @param secrets values to replace wherever they occur; shorter ones than three bytes are ignored
 */
[[nodiscard]] QByteArray withoutSecrets(const QByteArray &text, QList<QByteArray> secrets);
