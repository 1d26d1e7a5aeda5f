// Display profiles: settings that depend on the panel's size in pixels (core/panels.h).
#pragma once

#include <QRect>
#include <QSize>
#include <QString>

namespace displayprofile
{

/**
 * Determine the display profile of a panel.
 * @param screen width and height in pixels; both must match a known panel exactly
 * @return 4, 7, 10 (see core/panels.h), or 0 for any other size
 */
[[nodiscard]] int modelFor(const QSize &screen);

/** Return the resource path of a profile's style sheet; empty for 0 and for unknown profiles.
 *  @param model value of modelFor() */
[[nodiscard]] QString styleSheetPath(int model);

/** Return the resource path of the style sheet shared by all profiles. */
[[nodiscard]] QString globalStyleSheetPath();

/**
 * Return the geometry of the busy bar: half the panel's width, one twelfth of its height, centred
 * horizontally; the distance from the top equals the distance from the left. Divisions truncate.
 * @param screen width and height in pixels
 */
[[nodiscard]] QRect busyBarGeometry(const QSize &screen);

} // namespace displayprofile
