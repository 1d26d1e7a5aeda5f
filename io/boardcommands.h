// External commands that the panel runs. All their command lines are defined in this unit.
#pragma once

struct ShellResult;

namespace boardcommands
{

/** Start pppd in the background, with the generated peer file. */
void dial();

/** Send SIGTERM to every pppd on the board. */
void terminateAllPppd();

/** @return true when a ppp interface is up */
[[nodiscard]] bool isLinkUp();

/** Set the default route over ppp0. */
void setDefaultRoute();

/** @return 0 when a /dev/ttyUSB* device node exists, 1 when none exists, any other value when the
 *          shell failed */
[[nodiscard]] int findModemNode();

/** @return true when the board's auto-connect script, 3g.sh, is running */
[[nodiscard]] bool isAutoConnectRunning();

/** Ping the target of the ping test three times and wait for the result. */
[[nodiscard]] ShellResult ping();

} // namespace boardcommands
