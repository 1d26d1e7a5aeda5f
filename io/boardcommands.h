// What the program has the board's own commands do. Their command lines stand here alone.
#pragma once

struct ShellResult;

namespace boardcommands
{

/** Starts pppd with the generated peer file. pppd goes on in the background. */
void dial();

/** Asks every pppd of the board to end. */
void stopAll();

/** @return whether the board has a ppp interface */
bool isUp();

/** Sets the default route over ppp0. */
void setDefaultRoute();

/** @return 0 when /dev has a ttyUSB node, 1 when it has none, any other value when the shell failed
 */
int findModemNode();

/** @return whether a process runs the board's auto-connect script, 3g.sh */
bool isAutoConnectRunning();

/** Pings the ping test's target three times and waits for the end of it. */
ShellResult ping();

} // namespace boardcommands
