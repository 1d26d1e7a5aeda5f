// An on-screen input method that the display server can make the active one.
#pragma once

class QWSInputMethod
{
public:
    virtual ~QWSInputMethod() = default;

    /** Called once, on the GUI thread, before any window exists. */
    virtual void activate() = 0;
};
