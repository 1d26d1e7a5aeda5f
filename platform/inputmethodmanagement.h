// Tells which on-screen input method this machine has.
#pragma once

class QWSInputMethod;

class InputMethodManagement
{
public:
    /**
     * The input method that should be active: the program's own keys, unless the launch environment
     * names another one (QT_IM_MODULE or, as later versions of Qt have it, QT_IM_MODULES) or there
     * is no screen. To be called once.
     * @return owned by the application object; null when Qt looks after the input method by itself
     */
    QWSInputMethod *getCurrentInputMethod() const;
};
