// What is remembered from dial to dial: which pppd has sent the PIN. Never the PIN itself.
#pragma once

#include <string>

namespace guard
{

/**
 * Name the pppd that runs this program, past the shells between them.
 * @return its process ID and start time in clock ticks since boot, which no later process shares,
 *         as a line; empty when /proc does not tell
 */
std::string callingPppd();

/**
 * @param path file of the memory
 * @return true when the file names that process; links are not followed
 */
bool isRemembered(const std::string &path, const std::string &pppd);

/**
 * Replace the file in one step, with mode 0600.
 * @return false when it could not be written or the name is empty; errno says why
 */
bool remember(const std::string &path, const std::string &pppd);

/** Delete the file, if there is one. */
void forget(const std::string &path);

/** @return true when the chat script at this path holds AT+CPIN=, looking at its first 64 KiB */
bool sendsPin(const std::string &chatScript);

} // namespace guard
