// Handles the termination signals SIGTERM, SIGINT and SIGHUP.
#pragma once

#include <QObject>

/**
 * Exit cleanly on a termination signal: close all windows, leave all event loops and abandon waits;
 * save nothing. Signals are handled in the event loop, so that they never interrupt a save; a
 * running command is completed first.
 *
 * Create it after QApplication, whose platform plugin installs its own handlers. See the Qt
 * documentation, "Calling Qt Functions From Unix Signal Handlers".
 */
class TerminationSignals : public QObject
{
public:
    TerminationSignals();

    /** Block the signals until a TerminationSignals object handles them. Call this before creating
     *  QApplication, whose platform plugin would otherwise exit with a failure status. */
    static void block();

    /** @return true after a signal was handled */
    [[nodiscard]] static bool received();

private:
    void stop();
};
