// How pppd splits a value that stands in its peer file without quotes of our own.
#pragma once

#include <QByteArray>

/**
 * Checks that pppd takes a value as one word, as its manual page pppd(8) describes options files:
 * white space separates words, quotes and backslashes keep them together, and # begins a comment.
 * @return false when a further word follows, which pppd would take for an option of its own, or
 *         when a comment, a quote or a backslash has it read on in the next line; true for an empty
 *         value
 */
bool isOnePppdWord(const QByteArray &value);
