// Decodes the output of other programs.
#pragma once

#include <QByteArray>
#include <QString>

/** Decode ISO 8859-1 up to the first NUL. */
[[nodiscard]] QString decodeLatin1(const QByteArray &bytes);
