// Dumps the screen as JSON: every window and every widget of the program.
#pragma once

#include <QJsonObject>

/**
 * Describe all windows and widgets, hidden ones included.
 *
 * Windows are listed from the bottom of the stack to its top; a bare QWindow is a window without
 * widgets. Nothing is created, polished or laid out: a widget that was never shown may have a
 * geometry that no layout has set. The list of keys is empty while the keyboard is hidden.
 * @return {"screen", "keys", "windows", "widgets"}; rectangles are [x, y, width, height] in global
 *         pixels
 */
QJsonObject dumpScreen();
