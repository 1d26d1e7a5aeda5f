// Checks for a display and reports a missing one with an error message instead of an abort.
#pragma once

#include <QtGlobal>

/** Exit status without a display: EX_UNAVAILABLE of sysexits.h. */
constexpr int ExitNoDisplay = 69;

/**
 * While an object of this class exists, a fatal Qt message is printed and the process exits with
 * status ExitNoDisplay instead of aborting, for example when the platform plugin is missing. Use it
 * only around the construction of QApplication.
 */
class FatalMessageExit
{
public:
    FatalMessageExit();
    ~FatalMessageExit();
    Q_DISABLE_COPY_MOVE(FatalMessageExit)
};

/** Print an error message if there is no screen. @return true when there is a screen */
[[nodiscard]] bool hasDisplay();
