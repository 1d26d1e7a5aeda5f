// Display profiles: what the panel's size in pixels decides about the screen.
#pragma once

#include <QRect>
#include <QSize>
#include <QString>

namespace displayprofile
{

/**
 * Classifies a panel.
 * @param screen width and height in pixels; both must match a known panel exactly
 * @return 4 (480x272), 7 (800x480), 10 (1280x800) or 0 (any other size)
 */
int modelFor(const QSize &screen);

/** Resource path of a profile's style sheet, or an empty text for profile 0. */
QString styleSheetPath(int model);

/** Resource path of the style sheet that all profiles share. */
QString globalStyleSheetPath();

/**
 * Places the busy bar: half the panel wide, a twelfth of the panel high, and as far from the top as
 * from the left. Divisions truncate.
 * @param screen width and height in pixels
 */
QRect busyBarGeometry(const QSize &screen);

} // namespace displayprofile
