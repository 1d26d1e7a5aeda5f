// Masks secrets in files that leave the board.
#pragma once

#include <QByteArray>
#include <QList>

/**
 * Replace secrets by stars: the PIN in AT commands, user names and passwords in pppd's options and
 * messages, numbers of 7 digits or more (phone number, IMSI, ICCID, IMEI), and hexadecimal numbers
 * of 16 digits or more (CHAP challenges and responses).
 * @param text content of a file in any encoding
 * @param secrets values to replace wherever they occur; values shorter than 3 bytes are ignored
 */
[[nodiscard]] QByteArray withoutSecrets(const QByteArray &text, QList<QByteArray> secrets);
