// Display profiles: what the panel's pixel size decides about the looks of the screen.
#pragma once

#include <QRect>
#include <QSize>
#include <QString>

namespace DisplayProfile
{

/**
 * Profile of a panel.
 * @param screen width and height in pixels; both must match a known panel exactly
 * @return 4 (480x272), 7 (800x480), 10 (1280x800) or 0 (any other size)
 */
int modelFor(const QSize &screen);

/** Resource path of a profile's style sheet; empty for a profile that has none. */
QString styleSheetPath(int model);

/** Resource path of the sheet that every profile shares. */
QString globalStyleSheetPath();

/**
 * Place of the busy bar: half the panel wide, a twelfth of it high, and as far from the top as
 * from the left. Divisions truncate.
 * @param screen width and height in pixels
 */
QRect busyBarGeometry(const QSize &screen);

} // namespace DisplayProfile
