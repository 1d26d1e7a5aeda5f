#include "core/diallog.h"

#include <QRegularExpression>
#include <QStringList>

namespace
{

struct Message {
    const char *part;   ///< text that a line of the log contains
    const char *cause;  ///< null if the message is not a failure
    const char *remedy; ///< null if the message is not a failure
};

constexpr char CompareDialData[] =
    "compare APN and dial number with the network operator's data; check the reception";
constexpr char SelectAuto[] = "select the method AUTO on the panel, then touch Connect";

// docs/troubleshooting.md explains most of these messages to the operator.
constexpr Message Messages[] = {
    {"local  IP address", nullptr, nullptr},
    {"Terminating on signal", nullptr, nullptr},
    {"Connect: ppp", "the number was dialled, and the network has not answered", CompareDialData},
    {"IPCP: timeout sending", "the network has not assigned an IP address",
     "ask the network operator"},
    {"LCP: timeout sending", "the network has not accepted the call", CompareDialData},
    {"No response to", "the network has stopped answering, and pppd has dropped the link",
     "check the reception; pppd redials"},
    {"No auth is possible", "the network requires a user name and a password",
     "enter both on the panel, then touch Connect"},
    {"peer refused to authenticate", "the network does not authenticate itself to the board",
     SelectAuto},
    {"required to authenticate itself", "the method PAP or CHAP has no secret for the network",
     SelectAuto},
    {"authentication failed", "the network rejects the user name or the password",
     "correct user name and password on the panel, then touch Connect"},
    {"refused this PIN once", "the SIM has refused the stored PIN",
     "correct the PIN on the panel, then touch Connect"},
    {"asks for the PUK", "the SIM is blocked and asks for its PUK", PukRemedy},
    {"belongs to another USB device", "/dev/ttyUSB0 belongs to another USB device",
     "unplug that device, then plug the dongle in again"},
    {"Failed to open /dev/", "pppd could not open the dongle's port", "plug the dongle in"},
    {"is locked by pid", "another process has locked the dongle's port",
     "put nolock into /etc/ppp/options.ttyUSB0"},
    {"Couldn't allocate PPP unit", "the kernel has no PPP driver", "run modprobe ppp_async"},
};

/** @param status exit status of chat (chat(8), TERMINATION CODES) */
DialFailure chatFailure(int status)
{
    // The abort strings, in the order of the chat script.
    static const QStringList aborts{"BUSY",         "NO CARRIER", "VOICE",   "NO DIALTONE",
                                    "NO DIAL TONE", "NO ANSWER",  "DELAYED", "ERROR"};
    constexpr int Timeout = 3;
    if (status == Timeout)
        return {"the modem has not answered chat in time",
                "plug the dongle in again; APN, dial number and PIN must have no single quote"};
    if (const QString answer = aborts.value(status - Timeout - 1); !answer.isEmpty())
        return {"the modem has answered " + answer + " to chat",
                "compare PIN and APN with the network operator's data, and check the SIM; "
                "journalctl -t chat shows the refused command"};
    return {QString("chat has failed with status %1").arg(status),
            "plug the dongle in again; journalctl -t chat shows the commands"};
}

} // namespace

std::optional<DialFailure> lastDialFailure(const QByteArray &log)
{
    static const QRegularExpression chatEnd("chat .*status = 0x([0-9a-f]+)");
    const QList<QByteArray> lines = log.split('\n');
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        for (const Message &message : Messages) {
            if (line->contains(message.part))
                return message.cause == nullptr
                           ? std::nullopt
                           : std::optional<DialFailure>({message.cause, message.remedy});
        }
        const auto match = chatEnd.match(QString::fromLatin1(*line));
        if (const int status = match.captured(1).toInt(nullptr, 16); status != 0)
            return chatFailure(status);
    }
    return std::nullopt;
}
