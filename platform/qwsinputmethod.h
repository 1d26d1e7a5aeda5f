// An on-screen input method that the display server can make the active one.
#pragma once

#include <QtPlugin>

class QWSInputMethod
{
public:
    virtual ~QWSInputMethod() = default;

    /** Called once, on the GUI thread, before any window exists. What keeps it from working it says
     *  in a debug message, and does nothing from then on. */
    virtual void activate() = 0;
};

// The interface of a module that brings one: the root object of its plug-in.
Q_DECLARE_INTERFACE(QWSInputMethod, "corvanta.QWSInputMethod/1")
