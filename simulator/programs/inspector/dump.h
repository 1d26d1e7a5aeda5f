// What the screen shows, as data: every window and every widget of the program.
#pragma once

#include <QJsonObject>

/**
 * Describes everything, hidden widgets included.
 *
 * Windows are listed from the bottom of the stack to its top; a bare QWindow is a window without
 * widgets. Nothing is created, polished or laid out: a widget that was never shown may have a
 * geometry that no layout has set. The list of keys is empty while the keys are hidden.
 * @return {"screen", "keys", "windows", "widgets"}; rectangles are [x, y, width, height] in global
 *         pixels
 */
QJsonObject dumpScreen();
