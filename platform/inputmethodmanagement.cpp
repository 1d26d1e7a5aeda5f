#include "platform/inputmethodmanagement.h"

#include "platform/keyboard/onscreenkeyboard.h"

#include <QCoreApplication>
#include <QGuiApplication>

QWSInputMethod *InputMethodManagement::getCurrentInputMethod() const
{
    for (const char *name : {"QT_IM_MODULE", "QT_IM_MODULES"}) {
        if (!qEnvironmentVariableIsEmpty(name))
            return nullptr;
    }
    if (QGuiApplication::primaryScreen() == nullptr)
        return nullptr;
    return new OnScreenKeyboard(qApp);
}
