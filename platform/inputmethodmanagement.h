// Tells which on-screen input method this machine has.
#pragma once

class QWSInputMethod;

class InputMethodManagement
{
public:
    /** @return the input method that should be active, owned by this object; null when the machine
     *          has none */
    QWSInputMethod *getCurrentInputMethod() const;
};
