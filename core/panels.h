// The panel sizes that have a display profile: the only table of them.
#pragma once

namespace displayprofile
{

/** A panel size and what its style sheet sets. tests/app/CMakeLists.txt and simulator/panel
 *  read the rows. */
struct Panel {
    int width;           ///< in pixels
    int height;          ///< in pixels
    int profile;         ///< N in the name of its style sheet, profileN.qss
    int fontPixels;      ///< font size of edits and notices
    int buttonHeightMin; ///< smallest height of a button in pixels; it depends on the fonts
    int buttonHeightMax; ///< largest height of a button in pixels
};

inline constexpr Panel Panels[] = {
    {480, 272, 4, 14, 22, 29},
    {800, 480, 7, 20, 42, 50},
    {1280, 800, 10, 22, 44, 53},
};

} // namespace displayprofile
