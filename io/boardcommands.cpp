#include "io/boardcommands.h"

#include "io/shellcommand.h"

namespace boardcommands
{

namespace
{

int statusOf(const char *commandLine)
{
    return runShell(QString::fromLatin1(commandLine));
}

} // namespace

void dial()
{
    statusOf("pppd call ppp-connect &");
}

void stopAll()
{
    statusOf("killall pppd");
}

bool isUp()
{
    return statusOf("ifconfig | grep ppp") == 0;
}

void setDefaultRoute()
{
    statusOf("route add default ppp0");
}

int findModemNode()
{
    return statusOf("ls /dev | grep ttyUSB");
}

bool isAutoConnectRunning()
{
    // The brackets keep grep from matching its own command line.
    return statusOf("ps ax | grep '[3]g\\.sh'") == 0;
}

ShellResult ping()
{
    return runShellForOutput(QStringLiteral("ping -c 3 " CORVANTA_PING_TARGET));
}

} // namespace boardcommands
