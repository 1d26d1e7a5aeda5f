// Process start-up.
#include "app/mfilter.h"
#include "app/widget.h"
#include "device/fram.h"
#include "platform/inputmethodmanagement.h"
#include "platform/panelstyle.h"
#include "platform/qwsserver.h"

#include <QApplication>
#include <QBrush>
#include <csignal>
#include <cstdio>

int main(int argc, char **argv)
{
    std::signal(SIGUSR1, SIG_IGN); // Without a handler the signal would end the process.
    // Each line reaches a journal at once, too.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
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
