// The encoding of the text files' lines.
#pragma once

#include <QByteArray>
#include <QString>

namespace linetext
{

/** Encodes text as UTF-8. Half of a surrogate pair, which UTF-8 has no form for, becomes the three
 *  bytes that its code would have. decode() gives every text back as it was. */
QByteArray encode(const QString &text);

/** Decodes what encode() made. Bytes that it cannot have made are ISO 8859-1, which older
 *  installations wrote. */
QString decode(const QByteArray &bytes);

} // namespace linetext
