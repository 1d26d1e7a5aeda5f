#include "platform/display.h"

#include <QGuiApplication>
#include <cstdio>
#include <cstdlib>

namespace
{

QtMessageHandler previousHandler = nullptr;

void sayNoDisplay()
{
    std::fputs("corvanta: no display: check that the framebuffer exists and that QT_QPA_PLATFORM "
               "names it\n",
               stderr);
}

void endWhenFatal(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
        sayNoDisplay();
        std::_Exit(NoDisplay);
    }
    previousHandler(type, context, text);
}

} // namespace

DisplayStart::DisplayStart()
{
    previousHandler = qInstallMessageHandler(endWhenFatal);
}

DisplayStart::~DisplayStart()
{
    qInstallMessageHandler(previousHandler);
}

bool hasDisplay()
{
    if (QGuiApplication::primaryScreen() != nullptr)
        return true;
    sayNoDisplay();
    return false;
}
