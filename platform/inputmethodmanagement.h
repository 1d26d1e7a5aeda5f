// Tells which on-screen input method this machine has.
#pragma once

class QWSInputMethod;

class InputMethodManagement
{
public:
    /** Keeps Qt from showing an on-screen keyboard of its own, in a window over the whole panel. To
     *  be called before the application object exists. */
    static void prepare();

    /**
     * Loads the on-screen keyboard's module, if the launch environment has selected the keyboard:
     * QT_IM_MODULE=qtvirtualkeyboard, read by Qt before the application object exists.
     * @return the input method that should be active, owned by its module and valid to the end of
     *         the process; null when none is selected or its module cannot be loaded, which a
     *         debug message explains
     */
    QWSInputMethod *getCurrentInputMethod() const;
};
