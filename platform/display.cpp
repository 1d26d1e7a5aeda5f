#include "platform/display.h"

#include <QGuiApplication>
#include <cstdio>
#include <cstdlib>

namespace
{

QtMessageHandler previousHandler = nullptr;

void reportNoDisplay()
{
    std::fputs("corvanta: no display: check that the framebuffer exists and that QT_QPA_PLATFORM "
               "names it\n",
               stderr);
}

void exitOnFatalMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
        reportNoDisplay();
        std::_Exit(ExitNoDisplay);
    }
    previousHandler(type, context, text);
}

} // namespace

FatalMessageExit::FatalMessageExit()
{
    previousHandler = qInstallMessageHandler(exitOnFatalMessage);
}

FatalMessageExit::~FatalMessageExit()
{
    qInstallMessageHandler(previousHandler);
}

bool hasDisplay()
{
    if (QGuiApplication::primaryScreen() != nullptr)
        return true;
    reportNoDisplay();
    return false;
}
