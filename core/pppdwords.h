// Splits options files, such as the peer file, into words as pppd does.
#pragma once

#include <QByteArray>
#include <QList>

/** Words of an options file. */
struct PppdWords {
    QList<QByteArray> words;   ///< at most 1023 bytes each; pppd drops the rest
    bool hasOpenQuote = false; ///< a quote in the last word is not closed before the file ends
};

/**
 * Split an options file as pppd does: white space separates words, quotes and backslashes keep
 * characters together, and # starts a comment outside quotes (pppd(8), OPTIONS FILES). The escape
 * sequences are those of C, and \s for a space.
 */
[[nodiscard]] PppdWords splitPppdWords(const QByteArray &file);

/**
 * Check that pppd reads a value of the peer file as one word.
 * @return false when pppd would take part of the value as an option, or would continue the word on
 *         the next line; true for an empty value
 */
[[nodiscard]] bool isOnePppdWord(const QByteArray &value);
