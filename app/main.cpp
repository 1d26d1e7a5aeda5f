// Process start-up.
#include "app/mfilter.h"
#include "app/widget.h"
#include "device/fram.h"
#include "io/processsetup.h"
#include "io/singleinstance.h"
#include "platform/display.h"
#include "platform/inputmethodmanagement.h"
#include "platform/panelstyle.h"
#include "platform/qwsserver.h"
#include "platform/stopsignals.h"

#include <QApplication>
#include <QBrush>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <sysexits.h>

int main(int argc, char **argv)
{
    setUpProcess();
    // Line-buffered, so that each line reaches the journal immediately.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (!acquireInstanceLock()) {
        std::fputs("corvanta: another instance is already running\n", stderr);
        return EX_TEMPFAIL;
    }
    StopSignals::hold();
    auto displayStart = std::make_optional<DisplayStart>();
    QApplication app(argc, argv);
    displayStart.reset();
    if (!hasDisplay())
        std::_Exit(NoDisplay); // Skip destructors: the platform plugin has leaked memory.
    const StopSignals stopSignals;
    PanelStyle::apply(app);
    MFilter filter(nullptr);
    app.installEventFilter(&filter);
    static auto *const inputMethods = new InputMethodManagement; // Never deleted.
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
