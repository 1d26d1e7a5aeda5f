// The panel's size, as the board's display driver gives it.
#pragma once

#include <QSize>

/** Width and height of the primary screen in device pixels; 0x0 without a screen. */
QSize deviceScreenSize();
