// Process start-up.
#include "device/fram.h"
#include "mfilter.h"
#include "platform/inputmethodmanagement.h"
#include "platform/panelstyle.h"
#include "platform/qwsserver.h"
#include "widget.h"

#include <QApplication>
#include <QBrush>
#include <csignal>
#include <cstdio>

int main(int argc, char **argv)
{
    std::signal(SIGUSR1, SIG_IGN); // It kills a process that has no handler yet.
    // Whole lines as they are written, into a journal too.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    InputMethodManagement::prepare();
    QApplication app(argc, argv);
    PanelStyle::apply(app);
    MFilter filter(nullptr);
    app.installEventFilter(&filter);
    auto *inputMethods = new InputMethodManagement; // Lives as long as the process.
    QWSServer::setCurrentInputMethod(inputMethods->getCurrentInputMethod());
    QWSServer::setBackground(QBrush(Qt::black, Qt::SolidPattern));
    QWSServer::setCursorVisible(false);
    Fram::getInstance()->applyTranslator(&app);
    Widget window;
    window.show();
    return app.exec();
}
