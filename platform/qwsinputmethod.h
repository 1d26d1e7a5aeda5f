// Interface of an on-screen input method that QWSServer can activate.
#pragma once

class QWSInputMethod
{
public:
    virtual ~QWSInputMethod() = default;

    /** Activate the input method. Called once, on the GUI thread, before any window exists. */
    virtual void activate() = 0;
};
