// Single-instance lock: two instances would paint over each other and overwrite each other's files.
#pragma once

/**
 * Acquire the lock, which is held until the process exits, for whatever reason.
 * @return false when another instance holds the lock; true also when the lock file cannot be opened
 *         or locked for any other reason, so that a board without /run still gets its panel
 */
[[nodiscard]] bool acquireInstanceLock();

/** @return true when another instance holds the lock */
[[nodiscard]] bool isInstanceRunning();
