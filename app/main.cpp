// Process start-up.
#include "app/mfilter.h"
#include "app/widget.h"
#include "device/fram.h"
#include "io/ownground.h"
#include "platform/inputmethodmanagement.h"
#include "platform/panelstyle.h"
#include "platform/qwsserver.h"
#include "platform/stopsignals.h"

#include <QApplication>
#include <QBrush>
#include <cstdio>

int main(int argc, char **argv)
{
    makeOwnGround();
    // Each line reaches a journal at once, too.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QApplication app(argc, argv);
    const StopSignals stopSignals;
    PanelStyle::apply(app);
    MFilter filter(nullptr);
    app.installEventFilter(&filter);
    static auto *const inputMethods = new InputMethodManagement; // Lives as long as the process.
    QWSServer::setCurrentInputMethod(inputMethods->getCurrentInputMethod());
    QWSServer::setBackground(QBrush(Qt::black, Qt::SolidPattern));
    QWSServer::setCursorVisible(false);
    Fram::getInstance()->applyTranslator(&app);
    Widget window;
    if (StopSignals::received())
        return 0;
    window.show();
    return app.exec();
}
