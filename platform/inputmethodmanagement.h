// Selects the on-screen input method.
#pragma once

class QWSInputMethod;

class InputMethodManagement
{
public:
    /**
     * Create the input method to activate: the built-in on-screen keyboard, unless QT_IM_MODULE or
     * QT_IM_MODULES is set or there is no screen. Call this once.
     * @return the input method, owned by QApplication; null when the environment selects another
     *         one or there is no screen
     */
    [[nodiscard]] QWSInputMethod *getCurrentInputMethod() const;
};
