// Encoding of the lines of parameter files and generated files.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace lineencoding
{

/** Encode text as WTF-8: UTF-8 that also encodes unpaired surrogates, as three bytes each.
 *  decode() restores every text exactly. */
[[nodiscard]] QByteArray encode(const QString &text);

/** Decode the output of encode(). Anything else is decoded as ISO 8859-1, which older installations
 *  wrote. */
[[nodiscard]] QString decode(const QByteArray &bytes);

/** Encode lines, with a newline after each. */
[[nodiscard]] QByteArray encodeLines(const QStringList &lines);

} // namespace lineencoding
