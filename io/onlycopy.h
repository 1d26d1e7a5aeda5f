// One copy of the program on a board: two would paint over each other and save over each other.
#pragma once

/**
 * Claims the board's one place for the program, until the process ends in whatever way.
 * @return false when another copy has it; true as well where the claim cannot be made at all,
 *         because a board without /run must still get its panel
 */
bool claimOnlyCopy();

/** @return whether a copy of the program has the place */
bool isCopyRunning();
