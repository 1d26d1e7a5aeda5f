#include "app/doctor/checks.h"
#include "core/boardpaths.h"
#include "core/csqresponse.h"
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

using boardpaths::ModemPort;

const QString UsbDevices = "/sys/bus/usb/devices/";
constexpr char PlugAgain[] = "plug the dongle in again";
constexpr std::chrono::milliseconds AnswerTimeout{3000};

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
        if (product.toUInt(nullptr, 16) == DongleProduct)
            dongle = name;
        else
            other = product;
    }
    page.check({{dongle.isEmpty() && other.isEmpty(), "there is no dongle on the USB bus",
                 "plug it in; check port and power supply"},
                {dongle.isEmpty(),
                 "the dongle is on the USB bus as 12d1:" + other +
                     ", not as 12d1:1001: it is in storage mode or of another model",
                 "install usb-modeswitch, then plug the dongle in again"}},
               "on the USB bus as " + dongle);
    return dongle;
}

/** @return true when /dev/ttyUSB0 is a port of the dongle */
bool checkPorts(Page &page, const QString &dongle)
{
    QStringList ports;
    for (const QString &interface : namesIn(UsbDevices, dongle + ":*")) {
        const QString driver = targetName(UsbDevices + interface + "/driver");
        for (const QString &name : namesIn(UsbDevices + interface, "ttyUSB*")) {
            ports.append(name);
            page.ok("port " + name + ", driver " + (driver.isEmpty() ? "unknown" : driver));
        }
    }
    const QString target = targetName(ModemPort);
    const QString owner = "/sys/class/tty/" + target + "/device/../../id";
    return page.check({{ports.isEmpty(), "the dongle has no serial port: no driver has taken it",
                        "modprobe option, then plug the dongle in again"},
                       {target.isEmpty(), "/dev/ttyUSB0 does not exist", PlugAgain},
                       {!ports.contains(target),
                        "/dev/ttyUSB0 belongs to another adapter (" + contentOf(owner + "Vendor") +
                            ':' + contentOf(owner + "Product") + ") than the dongle",
                        "unplug that adapter"}});
}

/** @return true when no process has the port open */
bool checkUsers(Page &page)
{
    const QByteArrayList ours{"pppd", "chat", "pinguard", "corvanta"};
    const QList<Process> users = usersOf(ModemPort);
    for (const Process &user : users) {
        const QString text =
            QString("%1 (PID %2) has /dev/ttyUSB0 open").arg(user.name).arg(user.pid);
        page.check({{!ours.contains(user.name), text + " and takes the modem's answers",
                     QString("stop it; systemctl status %1 shows its service").arg(user.pid)}},
                   text + ": the modem is not queried");
    }
    return users.isEmpty();
}

bool checkRaw(Page &page)
{
    const FileDescriptor port(::open(ModemPort, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    termios modes{};
    const bool isClosed = ::tcgetattr(port.get(), &modes) == -1;
    return page.check(
        {{isClosed, "/dev/ttyUSB0 cannot be opened as a serial port", PlugAgain},
         {(modes.c_lflag & (ICANON | ECHO)) != 0,
          "/dev/ttyUSB0 is not in raw mode: the modem gets its answers back", PlugAgain}});
}

/** @return the modem's response; empty when there is none or another process has the port open */
QByteArray ask(AtPort &port, const QByteArray &command)
{
    return usersOf(ModemPort).isEmpty() ? port.ask(command, AnswerTimeout) : QByteArray();
}

/** @param answer response to +CPIN?. @return true when the SIM is ready */
bool checkSim(Page &page, const QByteArray &answer)
{
    if (answer.contains("READY"))
        return true;
    paramlist::ScreenValues stored;
    const bool hasPin = storedvalues::load(stored).isEmpty() && !stored.dialUp.pin.isEmpty();
    page.check(
        {{answer.isEmpty(), "the modem does not answer", PlugAgain},
         {answer.contains("PUK"), "the SIM is blocked and asks for its PUK",
          "enter the PUK in another device, such as a phone"},
         {!answer.contains("PIN"), "the modem finds no SIM",
          "insert the SIM, then plug the dongle in again"},
         {!hasPin, "the SIM asks for its PIN, and none is stored", "enter the PIN on the panel"},
         {QFileInfo::exists(boardpaths::PinRecord), "the SIM has refused the stored PIN",
          "correct the PIN before you dial again"}},
        "the SIM asks for its PIN, which the chat script sends");
    return false;
}

/** @param answers responses to +CREG? and +CGREG? (3GPP TS 27.007, 7.2 and 10.1.20) */
void checkRegistration(Page &page, const QByteArray &answers)
{
    static const QRegularExpression form(R"(\+CG?REG: *\d, *(\d))");
    QString states;
    for (auto all = form.globalMatch(QString::fromLatin1(answers)); all.hasNext();)
        states += all.next().captured(1);
    const bool isRoaming = states.contains(u'5');
    const bool isRegistered = isRoaming || states.contains(u'1');
    page.check(
        {{states.isEmpty(), "the modem does not report its registration",
          "send AT+CREG? with a terminal program", Warning},
         {!isRegistered && states.contains(u'3'), "the network denies the SIM its registration",
          "ask the operator: SIM not activated, blocked or without roaming"},
         {!isRegistered, "the modem finds no network to register in",
          "check antenna, place and SIM"}},
        isRoaming ? "registered, roaming" : "registered");
}

/** @param answer response to +COPS? (3GPP TS 27.007, 7.3) */
void checkOperator(Page &page, const QByteArray &answer)
{
    static const QRegularExpression form(R"(\+COPS: *\d,\d,"([^"]*)\"(?:,([0-7]))?)");
    const QStringList technologies{"GSM", "GSM", "UMTS", "EDGE", "HSDPA", "HSUPA", "HSPA", "LTE"};
    const auto match = form.match(QString::fromUtf8(answer));
    const QString technology = match.captured(2);
    if (match.hasMatch())
        page.ok("operator " + match.captured(1) +
                (technology.isEmpty() ? "" : ", " + technologies[technology.toInt()]));
}

} // namespace

bool checkDongle(Page &page)
{
    page.begin("dongle");
    const QString dongle = findDongle(page);
    if (dongle.isEmpty())
        return false;
    page.check({{contentOf(UsbDevices + dongle + "/power/control") == "auto",
                 "the kernel may suspend the dongle (power/control)",
                 "check the udev rules for USB power management", Warning}});
    return checkPorts(page, dongle) && checkUsers(page) && checkRaw(page);
}

void checkNetwork(Page &page)
{
    page.begin("SIM and network");
    AtPort port(ModemPort);
    if (!checkSim(page, ask(port, "AT+CPIN?")))
        return;
    const CsqResponse signal = parseCsqResponse(ask(port, "AT+CSQ"));
    page.check(
        {{signal.noSignal || signal.percent == 0, "no signal", "check antenna and place", Warning}},
        QString("the SIM is ready; signal %1 %").arg(signal.percent));
    checkRegistration(page, ask(port, "AT+CREG?") + ask(port, "AT+CGREG?"));
    checkOperator(page, ask(port, "AT+COPS?"));
}

} // namespace doctor
