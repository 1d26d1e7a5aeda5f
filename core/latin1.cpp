#include "core/latin1.h"

QString decodeLatin1(const QByteArray &bytes)
{
    // fromLatin1() does not stop at a NUL.
    const qsizetype nul = bytes.indexOf('\0');
    return QString::fromLatin1(nul < 0 ? bytes : bytes.left(nul));
}
