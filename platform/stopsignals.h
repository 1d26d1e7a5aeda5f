// The signals that ask the program to end: SIGTERM, SIGINT and SIGHUP.
#pragma once

#include <QObject>

/**
 * Ends the program in order when it is asked to: the windows close, every event loop returns and
 * waits are abandoned; nothing is saved. A signal is served between events, so it never falls
 * into work that must not be cut, and it waits for a command that is running.
 *
 * To be made after the application object, whose platform has handlers of its own.
 */
class StopSignals : public QObject
{
public:
    StopSignals();

    /** Has the signals wait until a StopSignals serves them. To be called before the application
     *  object is made: until then its platform would end the program with a failure. */
    static void hold();

    /** @return whether a signal has been served */
    static bool received();

private:
    void stop();
};
