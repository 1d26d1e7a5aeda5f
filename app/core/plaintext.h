// Output of other programs as text.
#pragma once

#include <QByteArray>
#include <QString>

/** Each byte is one character (ISO 8859-1), up to the first zero byte. */
QString plainText(const QByteArray &bytes);
