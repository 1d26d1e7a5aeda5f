// Programs that the dongle runs.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace modem
{

/**
 * Starts a program, found through PATH, with standard input from /dev/null and both outputs
 * appended to a file. It gets SIGTERM when this process dies, whatever it dies of.
 * @param arguments program first
 * @param output file for its output, empty for /dev/null
 * @param prepare runs in the new process before the program does; false ends it
 * @return its process id, or -errno; a program that cannot be executed ends with status 127
 */
pid_t startProgram(const std::vector<std::string> &arguments, const std::string &output,
                   const std::function<bool()> &prepare = nullptr);

/** Runs a program to its end. @return its exit status, or -1 when it could not be run */
int runProgram(const std::vector<std::string> &arguments, const std::string &output);

} // namespace modem
