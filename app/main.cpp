// Process start-up.
#include "app/mfilter.h"
#include "app/widget.h"
#include "device/fram.h"
#include "io/onlycopy.h"
#include "io/ownground.h"
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
    makeOwnGround();
    // Each line reaches a journal at once, too.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (!claimOnlyCopy()) {
        std::fputs("corvanta: another copy of the program runs\n", stderr);
        return EX_TEMPFAIL;
    }
    StopSignals::hold();
    auto displayStart = std::make_optional<DisplayStart>();
    QApplication app(argc, argv);
    displayStart.reset();
    if (!hasDisplay())
        std::_Exit(NoDisplay); // Qt's plug-in leaks what it had made before it missed the screen.
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
