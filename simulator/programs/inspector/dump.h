// Dumps all windows and widgets of the program as JSON.
#pragma once

#include <QJsonObject>

/**
 * Dump all windows and widgets, including hidden ones, with their classes and properties.
 *
 * Windows are listed from the bottom of the stack to the top. A QWindow that belongs to no widget
 * is listed as a window without widgets. The dump does not create, polish or lay out anything, so
 * the geometry of a widget that was never shown may not be the final one.
 * @return {"screen": [width, height], "windows", "widgets"}. The "window" of a widget is an index
 *         in "windows". Rectangles are [x, y, width, height] in global pixels, except for the
 *         "keys" of the on-screen keyboard, which are relative to its window.
 */
QJsonObject dumpScreen();
