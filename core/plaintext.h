// Text from the output of other programs.
#pragma once

#include <QByteArray>
#include <QString>

/** Decodes ISO 8859-1 up to the first NUL. */
QString plainText(const QByteArray &bytes);
