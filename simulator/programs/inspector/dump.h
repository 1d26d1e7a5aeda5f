// Dumps the screen as JSON: every window and every widget of the program.
#pragma once

#include <QJsonObject>

/**
 * Describe all windows and widgets, hidden ones included, by their class and properties.
 *
 * Windows are listed from the bottom of the stack to its top; a bare QWindow is a window without
 * widgets. Nothing is created, polished or laid out: a widget that was never shown may have a
 * geometry that no layout has set.
 * @return {"screen": [width, height], "windows", "widgets"}; a widget's "window" is an index of
 *         "windows"; rectangles are [x, y, width, height] in global pixels, but those of the "keys"
 *         of an on-screen keyboard are relative to its window
 */
QJsonObject dumpScreen();
