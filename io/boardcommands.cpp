#include "io/boardcommands.h"

#include "io/shellcommand.h"

namespace boardcommands
{

namespace
{

int run(const char *commandLine)
{
    return runShell(QString::fromLatin1(commandLine));
}

} // namespace

void dial()
{
    run("pppd call ppp-connect &");
}

void terminateAllPppd()
{
    run("killall pppd");
}

bool isLinkUp()
{
    return run("ifconfig | grep ppp") == 0;
}

void setDefaultRoute()
{
    run("route add default ppp0");
}

int findModemNode()
{
    return run("ls /dev | grep ttyUSB");
}

bool isAutoConnectRunning()
{
    // The brackets keep grep from matching its own command line.
    return run("ps ax | grep '[3]g\\.sh'") == 0;
}

ShellResult ping()
{
    return runShellForOutput(QStringLiteral("ping -c 3 " CORVANTA_PING_TARGET));
}

} // namespace boardcommands
