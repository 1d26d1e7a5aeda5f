// Command line and secrets of the network's pppd.
#pragma once

#include "simulator/programs/modem/scenario.h"

#include <string>
#include <vector>

namespace modem
{

/**
 * The network has the address 10.64.64.64, its caller gets 10.11.12.13.
 * @param program the pppd to run
 * @param port its terminal
 * @param log its debug log
 * @return the arguments, the program first
 */
std::vector<std::string> networkArguments(const std::string &program, const std::string &port,
                                          const std::string &log, const Scenario &scenario);

/** @return content of the pap-secrets and the chap-secrets of the network */
std::string networkSecrets(const Scenario &scenario);

/**
 * @param exitStatus of pppd(8)
 * @return whether the caller ended the call, or does not answer (any more)
 */
bool pppdLostCaller(int exitStatus);

} // namespace modem
