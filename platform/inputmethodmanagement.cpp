#include "inputmethodmanagement.h"

QWSInputMethod *InputMethodManagement::getCurrentInputMethod() const
{
    return nullptr; // No on-screen input method is part of the system yet.
}
