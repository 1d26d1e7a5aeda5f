#include "plaintext.h"

QString plainText(const QByteArray &bytes)
{
    // A QString made of the whole array would keep zero bytes and what follows them.
    const qsizetype nul = bytes.indexOf('\0');
    return QString::fromLatin1(nul < 0 ? bytes : bytes.left(nul));
}
