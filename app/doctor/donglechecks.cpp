#include "app/doctor/checks.h"
#include "core/boardpaths.h"
#include "core/diallog.h"
#include "core/dongleid.h"
#include "io/atport.h"
#include "io/processlist.h"
#include "io/storedvalues.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <fcntl.h>
#include <termios.h>

namespace doctor
{

namespace
{

using namespace boardpaths;

const QString UsbDevices = "/sys/bus/usb/devices/";
constexpr char PlugAgain[] = "plug the dongle in again";
constexpr char EnterPin[] = "enter the SIM's PIN on the panel, then touch Connect";
constexpr std::chrono::milliseconds AnswerTimeout{3000};

constexpr char Sim[] = "AT+CPIN?";
constexpr char Signal[] = "AT+CSQ";
constexpr char Registration[] = "AT+CREG? AT+CGREG?";
constexpr char Operator[] = "AT+COPS?";

/** A response of the modem. The first row of a query that matches the response is its finding. */
struct Response {
    const char *query;   ///< commands, separated by spaces
    const char *pattern; ///< regular expression for the responses together
    const char *state;
    const char *text; ///< %1 stands for what the pattern captures
    const char *remedy = "";
};

// 3GPP TS 27.007, 8.3, 8.5, 7.2, 10.1.20 and 7.3. If a PIN is stored, checkNetwork() appends
// "stored" to the response to AT+CPIN?, or "refused" if that PIN has been sent.
constexpr Response Responses[] = {
    {Sim, "READY", Ok, "the SIM is ready, and asks for no PIN"},
    {Sim, "^(stored|refused)?$", Failure, "the modem does not answer", PlugAgain},
    {Sim, "PH-", Failure, "the dongle is locked to another network or SIM",
     "ask its vendor for the unlock code, or use another dongle"},
    {Sim, "SIM PUK", Failure, "the SIM is blocked and asks for its PUK", PukRemedy},
    {Sim, "SIM PIN.*refused", Failure, "the SIM has refused the stored PIN", EnterPin},
    {Sim, "SIM PIN.*stored", Ok, "the SIM asks for its PIN, which the chat script sends"},
    {Sim, "SIM PIN", Failure, "the SIM asks for its PIN, and none is stored", EnterPin},
    {Sim, "", Failure, "the modem finds no SIM", "insert the SIM, then plug the dongle in again"},
    {Signal, R"(: *0*([1-9]\d?),(?<!99,))", Ok, "signal strength %1 of 31"},
    {Signal, "", Warning, "the modem receives no signal", "check the antenna, or move the board"},
    {Registration, "REG: *\\d, *1", Ok, "the SIM is registered in its home network"},
    {Registration, "REG: *\\d, *5", Ok, "the SIM is registered in another network (roaming)"},
    {Registration, "REG: *\\d, *3", Failure, "the network refuses to register this SIM",
     "try the SIM in a phone; if it is refused there, too, ask the network operator why (not "
     "activated, "
     "barred, no roaming); otherwise try another dongle"},
    {Registration, "REG: *\\d, *\\d", Failure, "the modem finds no network to register in",
     "check the antenna, or move the board; ask the network operator whether there is coverage"},
    {Registration, "", Warning, "the modem does not report its registration", PlugAgain},
    {Operator, R"x("([^"]*)",[013])x", Ok, "network in reach: %1, 2G"},
    {Operator, R"x("([^"]*)",[2456])x", Ok, "network in reach: %1, 3G"},
    {Operator, R"x("([^"]*)",7)x", Ok, "network in reach: %1, 4G"},
    {Operator, R"x("([^"]*)")x", Ok, "network in reach: %1"},
};

QStringList namesIn(const QString &directory, const QString &pattern)
{
    return QDir(directory).entryList({pattern}, QDir::AllEntries | QDir::System);
}

/** Return the last part of a path after all symbolic links; empty if it does not exist. */
QString targetName(const QString &path)
{
    return QFileInfo(path).canonicalFilePath().section(u'/', -1);
}

/** Look for the dongle on the USB bus. @return its name in sysfs; empty if there is none */
QString findDongle(Page &page)
{
    QString dongle;
    QString other;
    for (const QString &name : namesIn(UsbDevices, "*")) {
        const QByteArray product = contentOf(UsbDevices + name + "/idProduct");
        if (contentOf(UsbDevices + name + "/idVendor").toUInt(nullptr, 16) != DongleVendor)
            continue;
        (product.toUInt(nullptr, 16) == DongleProduct ? dongle : other) = name;
    }
    page.check(
        {{dongle.isEmpty() && other.isEmpty(), "there is no dongle on the USB bus",
          "plug it in; if it is plugged in, try another port and check the power supply"},
         {dongle.isEmpty(),
          "the dongle is on the USB bus as 12d1:" + contentOf(UsbDevices + other + "/idProduct") +
              ", not as 12d1:1001: it is in storage mode or of another model",
          "install usb-modeswitch, then plug the dongle in again"}},
        "the dongle is on the USB bus as 12d1:1001, device " + dongle);
    return dongle;
}

/** @return true when /dev/ttyUSB0 is a port of the dongle */
bool checkPorts(Page &page, const QString &dongle)
{
    QStringList ports;
    for (const QString &interface : namesIn(UsbDevices, dongle + ":*")) {
        for (const QString &name : namesIn(UsbDevices + interface, "ttyUSB*")) {
            ports.append(name);
            page.ok("serial port " + name + ", kernel driver " +
                    targetName(UsbDevices + interface + "/driver"));
        }
    }
    const QString port = targetName(ModemPort);
    const QString owner = "/sys/class/tty/" + port + "/device/../../id";
    return page.check({{ports.isEmpty(), "the dongle has no serial port: no driver has taken it",
                        "run modprobe option, then plug the dongle in again"},
                       {port.isEmpty(), "/dev/ttyUSB0 does not exist", PlugAgain},
                       {!ports.contains(port),
                        "/dev/ttyUSB0 belongs to another adapter (" + contentOf(owner + "Vendor") +
                            ':' + contentOf(owner + "Product") + ") than the dongle",
                        "unplug that adapter, then plug the dongle in again"}});
}

/** @return true when no process has the port open */
bool checkUsers(Page &page)
{
    const QByteArrayList ours{"pppd", "chat", "pinguard", "corvanta"};
    const QList<Process> users = usersOf(ModemPort);
    for (const Process &user : users) {
        const QString text =
            QString("%1 (PID %2) has /dev/ttyUSB0 open").arg(user.name).arg(user.pid);
        page.check({{!ours.contains(user.name), text + " and reads the modem's answers to pppd",
                     QString("find its service with systemctl status %1, and disable that")
                         .arg(user.pid)}},
                   text + ": SIM and network are not checked");
    }
    return users.isEmpty();
}

/** Add the finding of a query. @return true when it is not a fault */
bool checkResponse(Page &page, const char *query, const QString &responses)
{
    for (const Response &row : Responses) {
        const QRegularExpression form(row.pattern, QRegularExpression::DotMatchesEverythingOption);
        const auto match = form.match(responses);
        if (row.query != query || !match.hasMatch())
            continue;
        const QString text = QString(row.text).replace("%1", match.captured(1));
        return page.check({{row.state != Ok, text, row.remedy, row.state}}, text);
    }
    return true;
}

} // namespace

bool checkDongle(Page &page)
{
    page.begin("dongle");
    const QString dongle = findDongle(page);
    if (dongle.isEmpty())
        return false;
    page.check({{contentOf(UsbDevices + dongle + "/power/control") == "auto",
                 "the kernel may suspend the dongle (power/control is auto)",
                 "check the udev rules for USB power management", Warning}});
    return checkPorts(page, dongle) && checkUsers(page);
}

void checkNetwork(Page &page)
{
    page.begin("SIM and network");
    // Open during all queries, because opening and closing a modem that hangs takes seconds.
    const FileDescriptor tty(::open(ModemPort, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    termios modes{};
    const bool isClosed = ::tcgetattr(tty.get(), &modes) == -1;
    if (!page.check({{isClosed, "/dev/ttyUSB0 cannot be opened as a serial port", PlugAgain},
                     {(modes.c_lflag & (ICANON | ECHO)) != 0,
                      "/dev/ttyUSB0 is not in raw mode, so the modem receives its own answers",
                      PlugAgain}}))
        return;
    AtPort port(ModemPort);
    paramlist::ScreenValues stored;
    for (const char *query : {Sim, Signal, Registration, Operator}) {
        if (!checkUsers(page))
            return;
        QByteArray responses;
        for (const QByteArray &command : QByteArray(query).split(' '))
            responses += port.ask(command, AnswerTimeout);
        if (query == Sim && storedvalues::load(stored).isEmpty() && !stored.dialUp.pin.isEmpty()) {
            // A record older than the chat script is of an earlier PIN.
            const bool isSent =
                QFileInfo::exists(PinRecord) && changed(PinRecord) >= changed(ChatScript);
            responses += isSent ? "refused" : "stored";
        }
        const bool isInOrder = checkResponse(page, query, QString::fromUtf8(responses));
        if (query == Sim && !(isInOrder && responses.contains("READY")))
            return;
    }
}

} // namespace doctor
