// Size of the panel, as reported by the display driver.
#pragma once

#include <QSize>

/** Return the size of the primary screen in device pixels; 0x0 without a screen. */
[[nodiscard]] QSize deviceScreenSize();
