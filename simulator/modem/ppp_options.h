// Command line and secrets of the pppd that plays the network.
#pragma once

#include "scenario.h"

#include <string>
#include <vector>

namespace modem
{

/**
 * @param program the pppd to run; @param port its terminal; @param log its debug log.
 * @return the argument list, the program first. The network has the address 10.64.64.64, its
 * caller gets 10.11.12.13.
 */
std::vector<std::string> networkArguments(const std::string &program, const std::string &port,
                                          const std::string &log, const Scenario &scenario);

/** @return content of pap-secrets and chap-secrets of the network side. */
std::string networkSecrets(const Scenario &scenario);

/**
 * @param exitStatus of pppd(8).
 * @return whether the other side ended the call, or does not answer (any more).
 */
bool pppdLostCaller(int exitStatus);

} // namespace modem
