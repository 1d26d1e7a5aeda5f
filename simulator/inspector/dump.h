/// What the screen shows, as data: every window and every widget of the application.
#pragma once

#include <QJsonObject>

/// Describes the whole application, hidden widgets and widgets on no page included.
///
/// Rectangles are [x, y, width, height] in global pixels. Windows are listed from the bottom of
/// the stack to its top; a bare QWindow is a window without widgets. Nothing is created, polished
/// or laid out for it: a widget that has never been shown has the geometry that it has.
/// Keys are those of the on-screen keyboard, none while it is hidden.
/// @return {"screen", "keys", "windows", "widgets"}
QJsonObject dumpApplication();
