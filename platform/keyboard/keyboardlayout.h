// Pages of the on-screen keyboard: their keys, key positions, and the first page for a field.
#pragma once

#include <QList>
#include <QRect>
#include <QString>

namespace keyboardlayout
{

enum class Page { Letters, Digits, Symbols };

/** Action of a key. */
enum class Action { Character, Backspace, Enter, Hide, Shift, SwitchPage };

/** Shift state: lower case, one capital, or caps lock. */
enum class Shift { Off, Once, Locked };

struct Key {
    Action action;
    /** typed text (letters in lower case), name of the page to switch to, or a name such as
     *  "Backspace" */
    QString name;
    QRect rect; ///< in pixels from the top left corner of the window
    Page page;  ///< page to switch to (Action::SwitchPage only)
};

/** Return the size of the keyboard. @param panel width and height in pixels, any size */
[[nodiscard]] QSize size(const QSize &panel);

/**
 * Return the keys of a page, row by row. The pages together have every printable ASCII character,
 * and every page can be reached from every other.
 * @param size keyboard size in pixels; the keys of a row fill its width
 * @param hasSpace false to leave the place of the space bar empty
 */
[[nodiscard]] QList<Key> keys(Page page, const QSize &size, bool hasSpace = true);

/** Return the first page for a field's input-method hints. The hints do not restrict input. */
[[nodiscard]] Page initialPage(Qt::InputMethodHints hints);

/** Return whether a field with these hints gets a space bar. A space between digits could be
 *  overlooked. */
[[nodiscard]] bool hasSpace(Qt::InputMethodHints hints);

/** Return the text that a key types in a given shift state. */
[[nodiscard]] QString typedText(const Key &key, Shift shift);

} // namespace keyboardlayout
