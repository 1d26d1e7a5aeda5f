// Scenario files: lines that tell a simulator what to do.
#pragma once

#include "simulator/programs/common/setting.h"

#include <string>
#include <vector>

namespace common
{

/** Appends the content of a scenario file. @return 0, or errno (EINVAL for no regular file) */
int readScenarioFile(const std::string &path, std::string &text);

/**
 * Applies a scenario: one key=value a line. Blanks around both are dropped; empty lines and lines
 * that begin with # are skipped.
 * @param keys what the lines may set
 * @return one sentence for every line that is not understood; such a line changes nothing
 */
std::vector<std::string> applyScenario(const std::string &text, const std::vector<Setting> &keys);

/** @return the lines of a help text that explain the keys */
std::string scenarioHelp(const std::vector<Setting> &keys);

} // namespace common
