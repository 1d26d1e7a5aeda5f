// Whether there is a display at all, said in a sentence instead of by an abort.
#pragma once

#include <QtGlobal>

/** Exit status of a start without a display: EX_UNAVAILABLE of sysexits.h. */
constexpr int NoDisplay = 69;

/**
 * While it lives, a fatal message of Qt is printed and ends the process with NoDisplay. Without it
 * Qt aborts, as it does when the display's plug-in is missing. It is meant for the construction of
 * the application object alone.
 */
class DisplayStart
{
public:
    DisplayStart();
    ~DisplayStart();
    Q_DISABLE_COPY_MOVE(DisplayStart)
};

/** Says on standard error that nothing can be shown, unless there is a screen. @return whether
 *  there is one */
bool hasDisplay();
