#include "platform/keyboard/keyboardlayout.h"

namespace keyboardlayout
{

namespace
{

constexpr int Rows = 4;
// Key widths, in 1/240 of a row.
constexpr int WholeRow = 240;
constexpr int Character = 24;
constexpr int BesideCharacters = 36;
constexpr int LastRowCharacter = 26;
constexpr int LastRowEnd = 37;
constexpr int Space = 62;

/** The keys that differ between pages. */
struct PageContent {
    const char *rows[3];
    const char *besideSpace;
    Key thirdRowStart;
    Key lastRowStart;
};

PageContent content(Page page)
{
    const Key letters{Action::SwitchPage, QStringLiteral("ABC"), {}, Page::Letters};
    const Key digits{Action::SwitchPage, QStringLiteral("123"), {}, Page::Digits};
    const Key symbols{Action::SwitchPage, QStringLiteral("#+="), {}, Page::Symbols};
    const Key shift{Action::Shift, QStringLiteral("Shift"), {}, page};
    switch (page) {
    case Page::Digits:
        return {{"1234567890", "*#+-_@/&()", ":;!?\"'$"}, ",%", symbols, letters};
    case Page::Symbols:
        return {{"1234567890", "[]{}<>=^\\|", "`~-_*#+"}, ",%", digits, letters};
    case Page::Letters:
        break;
    }
    return {{"qwertyuiop", "asdfghjkl", "zxcvbnm"}, "@-", shift, digits};
}

/** Append the keys of one row, from left to right. */
class Row
{
public:
    Row(QList<Key> &keys, int row, const QSize &size)
        : m_keys(keys), m_width(size.width()), m_top(row * size.height() / Rows),
          m_bottom((row + 1) * size.height() / Rows)
    {
    }

    void skip(int parts) { m_parts += parts; }

    void add(Key key, int parts)
    {
        const int left = m_parts * m_width / WholeRow;
        m_parts += parts;
        key.rect = QRect(QPoint(left, m_top),
                         QPoint(m_parts * m_width / WholeRow, m_bottom) - QPoint(1, 1));
        m_keys.append(key);
    }

    void addCharacters(const QString &characters, int parts)
    {
        for (const QChar character : characters)
            add({Action::Character, character, {}, {}}, parts);
    }

private:
    QList<Key> &m_keys;
    int m_width;
    int m_top;
    int m_bottom;
    int m_parts = 0;
};

} // namespace

QSize size(const QSize &panel)
{
    // Limit the height, so that the field stays visible on wide, low panels.
    return {panel.width(), qMin(panel.width() * 5 / 16, panel.height() * 5 / 9)};
}

QList<Key> keys(Page page, const QSize &size, bool hasSpace)
{
    const PageContent content = keyboardlayout::content(page);
    QList<Key> keys;
    for (int at : {0, 1}) {
        const QString characters = QString::fromLatin1(content.rows[at]);
        // The first and the last key reach the edges of the panel.
        const int atEdge = (WholeRow - (int(characters.size()) - 2) * Character) / 2;
        Row row(keys, at, size);
        row.addCharacters(characters.first(1), atEdge);
        row.addCharacters(characters.sliced(1).chopped(1), Character);
        row.addCharacters(characters.last(1), atEdge);
    }
    Row third(keys, 2, size);
    third.add(content.thirdRowStart, BesideCharacters);
    third.addCharacters(QString::fromLatin1(content.rows[2]), Character);
    third.add({Action::Backspace, QStringLiteral("Backspace"), {}, page}, BesideCharacters);

    Row last(keys, 3, size);
    last.add(content.lastRowStart, LastRowEnd);
    last.addCharacters(QString::fromLatin1(content.besideSpace), LastRowCharacter);
    if (hasSpace)
        last.addCharacters(QStringLiteral(" "), Space);
    else
        last.skip(Space);
    last.addCharacters(QStringLiteral("."), LastRowCharacter);
    last.add({Action::Hide, QStringLiteral("Hide"), {}, page}, LastRowCharacter);
    last.add({Action::Enter, QStringLiteral("Enter"), {}, page}, LastRowEnd);
    return keys;
}

Page initialPage(Qt::InputMethodHints hints)
{
    constexpr Qt::InputMethodHints Numbers =
        Qt::ImhDigitsOnly | Qt::ImhFormattedNumbersOnly | Qt::ImhDialableCharactersOnly;
    return (hints & Numbers) ? Page::Digits : Page::Letters;
}

bool hasSpace(Qt::InputMethodHints hints)
{
    return !hints.testFlag(Qt::ImhDigitsOnly);
}

QString typedText(const Key &key, Shift shift)
{
    return shift == Shift::Off ? key.name : key.name.toUpper();
}

} // namespace keyboardlayout
