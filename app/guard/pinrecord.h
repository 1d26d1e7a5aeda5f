// Record of the pppd that has sent the PIN, kept between dials. It never contains the PIN.
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
 * Check whether the record names a pppd.
 * @param path path of the record; symbolic links are not followed
 * @param pppd value of callingPppd()
 * @return true when the record contains this value
 */
bool isRecorded(const std::string &path, const std::string &pppd);

/**
 * Replace the record atomically. It has mode 0600.
 * @return false when it could not be written or pppd is empty; errno has the reason
 */
bool writeRecord(const std::string &path, const std::string &pppd);

/** Delete the record if it exists. */
void deleteRecord(const std::string &path);

/** @return true when the first 64 KiB of this chat script contain AT+CPIN= */
bool sendsPin(const std::string &chatScript);

} // namespace guard
