// pppd runs this program before each dial. It prevents pppd from sending a rejected PIN again.
#include "app/guard/modemport.h"
#include "app/guard/pinrecord.h"
#include "app/guard/simquery.h"
#include "core/boardpaths.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <syslog.h>
#include <unistd.h>

namespace
{

// The panel checks the link 15 s after pppd was started; chat needs most of those 15 s.
constexpr std::chrono::milliseconds AskTime{3000};

/** Report why the dial is skipped. @return the exit status with which pppd skips it */
int refuse(const std::string &why)
{
    std::fprintf(stderr, "%s\n", why.c_str()); // pppd's log file
    openlog("corvanta-pinguard", 0, LOG_DAEMON);
    syslog(LOG_WARNING, "%s", why.c_str());
    return 1;
}

int apply(guard::Verdict verdict, const std::string &pppd)
{
    switch (verdict) {
    case guard::Verdict::RefusePuk:
        return refuse("The SIM asks for the PUK. There is no dial until it has been entered.");
    case guard::Verdict::RefusePin:
        return refuse(
            "The SIM refused this PIN once. It is not sent again until Connect is pressed.");
    case guard::Verdict::DialAndRecord:
        if (!guard::writeRecord(boardpaths::PinRecord, pppd)) {
            // Without the record, the next dial would send the PIN again.
            return refuse(std::string("The PIN is not sent, as ") + boardpaths::PinRecord +
                          " cannot be written: " + std::strerror(errno) + '.');
        }
        break;
    case guard::Verdict::DialAndDelete:
        guard::deleteRecord(boardpaths::PinRecord);
        break;
    case guard::Verdict::Dial:
        break;
    }
    return 0;
}

} // namespace

int main()
{
    guard::handleTerminationSignals();
    const std::string other = guard::otherUsbDevice(STDIN_FILENO);
    if (!other.empty())
        return refuse(std::string(boardpaths::ModemPort) + " belongs to another USB device (" +
                      other + "). Unplug that device.");
    const std::string pppd = guard::callingPppd();
    const guard::SimState state = guard::ModemPort(STDIN_FILENO).ask(AskTime);
    if (guard::terminationReceived())
        return 1;
    return apply(guard::decide(state, guard::sendsPin(boardpaths::ChatScript),
                               guard::isRecorded(boardpaths::PinRecord, pppd)),
                 pppd);
}
