// Checks for a display and reports a missing one with an error message instead of an abort.
#pragma once

#include <QtGlobal>

/** Exit status without a display: EX_UNAVAILABLE of sysexits.h. */
constexpr int NoDisplay = 69;

/**
 * While an object of this class exists, a fatal Qt message is printed and the process exits with
 * status NoDisplay instead of aborting, for example when the platform plugin is missing. Use it
 * only around the construction of QApplication.
 */
class DisplayStart
{
public:
    DisplayStart();
    ~DisplayStart();
    Q_DISABLE_COPY_MOVE(DisplayStart)
};

/** Print an error message if there is no screen. @return true when there is a screen */
[[nodiscard]] bool hasDisplay();
