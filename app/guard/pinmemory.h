// Remembers between dials which pppd has sent the PIN, never the PIN itself.
#pragma once

#include <string>

namespace guard
{

/**
 * Identify the pppd that runs this program, skipping the shells between them.
 * @return one line: its process ID and its start time in clock ticks since boot, which together
 *         are unique; empty when /proc cannot be read
 */
std::string callingPppd();

/**
 * Check whether the file names this pppd.
 * @param path of the file; symbolic links are not followed
 * @param pppd as callingPppd() returns it
 * @return true when the file contains that process
 */
bool isRemembered(const std::string &path, const std::string &pppd);

/**
 * Replace the file atomically, with mode 0600.
 * @return false when the file could not be written or pppd is empty; errno says why
 */
bool remember(const std::string &path, const std::string &pppd);

/** Delete the file if it exists. */
void forget(const std::string &path);

/** @return true when the first 64 KiB of this chat script contain AT+CPIN= */
bool sendsPin(const std::string &chatScript);

} // namespace guard
