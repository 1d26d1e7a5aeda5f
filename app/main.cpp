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
#include "platform/terminationsignals.h"

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
    TerminationSignals::block();
    auto fatalMessageExit = std::make_optional<FatalMessageExit>();
    QApplication app(argc, argv);
    fatalMessageExit.reset();
    if (!hasDisplay())
        // Skip the leak check of the sanitizer build: a leak in the platform plugin would change
        // the status.
        std::_Exit(ExitNoDisplay);
    const TerminationSignals terminationSignals;
    PanelStyle::apply(app);
    MFilter filter(nullptr);
    app.installEventFilter(&filter);
    static auto *const inputMethods = new InputMethodManagement; // Never deleted.
    QWSServer::setCurrentInputMethod(inputMethods->getCurrentInputMethod());
    QWSServer::setBackground(QBrush(Qt::black, Qt::SolidPattern));
    QWSServer::setCursorVisible(false);
    Fram::getInstance()->applyTranslator(&app);
    Widget window;
    if (TerminationSignals::received())
        return 0;
    window.show();
    return app.exec();
}
