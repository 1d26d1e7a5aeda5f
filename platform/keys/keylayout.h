// The pages of keys: which keys there are, where they stand and which page a field opens on.
#pragma once

#include <QList>
#include <QRect>
#include <QString>

namespace keylayout
{

enum class Page { Letters, Digits, Symbols };

/** What a key does. */
enum class Action { Type, Backspace, Enter, Hide, Shift, Turn };

/** How letters are typed: small, one capital, or capitals until further notice. */
enum class Shift { Off, Once, Locked };

struct Key {
    Action action;
    QString name; ///< what it types or turns to, a letter small; "Backspace" and the like
    QRect rect;   ///< in pixels from the window's top left corner
    Page page;    ///< that it turns to
};

/** Size of all keys together. @param panel width and height in pixels, any size */
QSize size(const QSize &panel);

/**
 * The keys of a page, row by row. Every printable ASCII character is on one of the pages, and each
 * page leads to the others.
 * @param size width and height in pixels of all keys together; the keys of a row fill it
 */
QList<Key> keys(Page page, const QSize &size);

/** The page for what a field takes, by its hints: they refuse nothing. */
Page firstPage(Qt::InputMethodHints hints);

/** The character that a key types: a letter in the case that shift gives it. */
QString typedText(const Key &key, Shift shift);

} // namespace keylayout
