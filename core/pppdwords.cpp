#include "core/pppdwords.h"

#include <cctype>
#include <optional>

namespace
{

constexpr qsizetype MaxWordLength = 1023;

bool isSpace(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

class WordReader
{
public:
    explicit WordReader(const QByteArray &file) : m_file(file) {}

    bool hasOpenQuote() const { return m_quote != 0; }

    /** @return nothing at the end of the file */
    std::optional<QByteArray> next()
    {
        skipToWord();
        if (isAtEnd())
            return std::nullopt;
        QByteArray word;
        while (!isAtEnd() && !isAtEndOfWord())
            readInto(word);
        return word.left(MaxWordLength);
    }

private:
    bool isAtEnd() const { return m_at >= m_file.size(); }
    bool startsLineContinuation() const { return m_file.mid(m_at, 2) == "\\\n"; }
    bool isAtEndOfWord() const
    {
        return m_quote == 0 && (m_file[m_at] == '#' || isSpace(m_file[m_at]));
    }

    void skipToWord()
    {
        for (bool comment = false; !isAtEnd(); ++m_at) {
            const char c = m_file[m_at];
            if (c == '\n')
                comment = false;
            else if (c == '#')
                comment = true;
            else if (!comment && startsLineContinuation())
                ++m_at;
            else if (!comment && !isSpace(c))
                return;
        }
    }

    void readInto(QByteArray &word)
    {
        const char c = m_file[m_at++];
        if (c == '\\')
            readEscape(word);
        else if (m_quote != 0 && c == m_quote)
            m_quote = 0;
        else if (m_quote == 0 && (c == '"' || c == '\''))
            m_quote = c;
        else
            word += c;
    }

    void readEscape(QByteArray &word)
    {
        static const QByteArray letters = "abfnrst";
        static const QByteArray meanings = "\a\b\f\n\r \t";
        if (isAtEnd())
            return;
        const char c = m_file[m_at];
        if (c >= '0' && c <= '7') {
            word += readNumber(3, 8);
            return;
        }
        ++m_at;
        if (c == 'x')
            word += readNumber(2, 16);
        else if (const qsizetype i = letters.indexOf(c); i >= 0)
            word += meanings[i];
        else if (c != '\n')
            word += c;
    }

    char readNumber(int digits, int base)
    {
        int value = 0;
        for (; digits > 0 && !isAtEnd(); --digits, ++m_at) {
            bool isDigit = false;
            const int digit = m_file.mid(m_at, 1).toInt(&isDigit, base);
            if (!isDigit)
                break;
            value = value * base + digit;
        }
        return static_cast<char>(value);
    }

    const QByteArray &m_file;
    qsizetype m_at = 0;
    char m_quote = 0; ///< open quotation mark in the current word; 0 if none
};

} // namespace

PppdWords splitPppdWords(const QByteArray &file)
{
    PppdWords found;
    WordReader reader(file);
    while (const auto word = reader.next())
        found.words.append(*word);
    found.hasOpenQuote = reader.hasOpenQuote();
    return found;
}

bool isOnePppdWord(const QByteArray &value)
{
    if (value.trimmed().isEmpty())
        return true;
    const PppdWords found = splitPppdWords("name " + value + "\nnext\n");
    return !found.hasOpenQuote && found.words.size() == 3 && found.words[2] == "next";
}
