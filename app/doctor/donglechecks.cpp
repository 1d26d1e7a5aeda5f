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

constexpr char UsbDevices[] = "/sys/bus/usb/devices/";
constexpr char PlugAgain[] = "plug the dongle in again";
constexpr std::chrono::milliseconds AnswerTimeout{3000};

QStringList namesIn(const QString &directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
}

/** Return the last part of a path after all symbolic links; empty if it does not exist. */
QString targetName(const QString &path)
{
    return QFileInfo(path).canonicalFilePath().section(u'/', -1);
}

unsigned numberIn(const QString &path)
{
    return contentOf(path).toUInt(nullptr, 16);
}

/** Report what is on the bus. @return the dongle's name there; empty if there is none */
QString findDongle(Page &page)
{
    QString other;
    for (const QString &name : namesIn(UsbDevices)) {
        const unsigned product = numberIn(UsbDevices + name + "/idProduct");
        if (numberIn(UsbDevices + name + "/idVendor") != DongleVendor)
            continue;
        if (product == DongleProduct) {
            page.ok("on the USB bus as " + name);
            return name;
        }
        other = QString::number(product, 16).rightJustified(4, u'0');
    }
    if (other.isEmpty())
        page.fail("there is no dongle on the USB bus", "plug it in; check port and power supply");
    else
        page.fail("the dongle is on the USB bus as 12d1:" + other +
                      ", not as 12d1:1001: it has not been switched from storage to modem mode, "
                      "or it is another model",
                  QString("install usb-modeswitch, then ") + PlugAgain);
    return {};
}

/** @return the dongle's ports, such as ttyUSB0 */
QStringList portsOf(Page &page, const QString &dongle)
{
    QStringList ports;
    QString described;
    for (const QString &interface : namesIn(UsbDevices)) {
        if (!interface.startsWith(dongle + ':'))
            continue;
        for (const QString &name : namesIn(UsbDevices + interface).filter("ttyUSB")) {
            ports.append(name);
            described += ' ' + name + " (" + targetName(UsbDevices + interface + "/driver") + ')';
        }
    }
    if (!ports.isEmpty())
        page.ok("ports:" + described);
    else
        page.fail("the dongle has no serial port: no driver has taken it",
                  QString("modprobe option, then ") + PlugAgain);
    return ports;
}

/** @return true when /dev/ttyUSB0 is one of the dongle's ports */
bool checkOwner(Page &page, const QStringList &ports)
{
    const QString target = targetName(ModemPort);
    if (ports.contains(target))
        return true;
    const QString device = "/sys/class/tty/" + target + "/device/../../";
    if (target.isEmpty())
        page.fail("/dev/ttyUSB0 does not exist", PlugAgain);
    else
        page.fail("/dev/ttyUSB0 belongs to another adapter (" + contentOf(device + "idVendor") +
                      ':' + contentOf(device + "idProduct") + ") than the dongle",
                  "unplug that adapter");
    return false;
}

/** @return true when no process has the port open */
bool checkUsers(Page &page)
{
    const QList<Process> users = usersOf(ModemPort);
    for (const Process &user : users) {
        const QString text =
            QString("%1 (PID %2) has /dev/ttyUSB0 open").arg(QString(user.name)).arg(user.pid);
        if (QByteArrayList{"pppd", "chat", "pinguard", "corvanta"}.contains(user.name))
            page.ok(text + ": the modem is not asked");
        else
            page.fail(text + " and takes the modem's answers",
                      QString("stop it; systemctl status %1 shows its service").arg(user.pid));
    }
    return users.isEmpty();
}

bool checkRaw(Page &page)
{
    const FileDescriptor port(::open(ModemPort, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    termios modes{};
    if (::tcgetattr(port.get(), &modes) == -1)
        page.fail("/dev/ttyUSB0 cannot be opened as a serial port", PlugAgain);
    else if ((modes.c_lflag & (ICANON | ECHO)) != 0)
        page.fail("/dev/ttyUSB0 is not in raw mode: the modem gets its answers back as commands",
                  PlugAgain);
    else
        return true;
    return false;
}

/** @return the modem's answer; empty when there is none, or another process uses the port now */
QByteArray ask(AtPort &port, const QByteArray &command)
{
    return usersOf(ModemPort).isEmpty() ? port.ask(command, AnswerTimeout) : QByteArray();
}

void checkPin(Page &page)
{
    paramlist::ScreenValues values;
    if (!storedvalues::load(values).isEmpty() || values.dialUp.pin.isEmpty())
        page.fail("the SIM asks for its PIN, and none is stored", "enter the PIN on the panel");
    else if (QFileInfo::exists(boardpaths::PinMemory))
        page.fail("the SIM has refused the stored PIN", "correct the PIN before you dial again");
    else
        page.ok("the SIM asks for its PIN, which the chat script sends");
}

/** @return true when the SIM is ready */
bool checkSim(Page &page, const QByteArray &answer)
{
    if (answer.isEmpty())
        page.fail("the modem does not answer", PlugAgain);
    else if (answer.contains("READY"))
        page.ok("the SIM is ready");
    else if (answer.contains("PUK"))
        page.fail("the SIM is blocked and asks for its PUK",
                  "enter the PUK in another device, such as a phone");
    else if (answer.contains("PIN"))
        checkPin(page);
    else
        page.fail("the modem finds no SIM", QString("insert the SIM, then ") + PlugAgain);
    return answer.contains("READY");
}

/** @param answers responses to +CREG? and +CGREG? (3GPP TS 27.007, 7.2 and 10.1.20) */
void checkRegistration(Page &page, const QByteArray &answers)
{
    static const QRegularExpression state(R"(\+CG?REG: *\d, *(\d))");
    QString states;
    for (auto all = state.globalMatch(QString::fromLatin1(answers)); all.hasNext();)
        states += all.next().captured(1);
    if (states.contains(u'1') || states.contains(u'5'))
        page.ok(states.contains(u'5') ? "registered, roaming" : "registered");
    else if (states.contains(u'3'))
        page.fail("the network denies the SIM its registration",
                  "ask the operator: SIM not activated, blocked or without roaming");
    else if (states.contains(u'2') || states.contains(u'0'))
        page.fail("the modem finds no network to register in", "check antenna, place and SIM");
    else
        page.warn("the modem does not tell its registration", "look at chat's log");
}

void checkOperator(Page &page, const QByteArray &answer)
{
    static const QRegularExpression form(R"(\+COPS: *\d,\d,"([^"]*)\"(?:,(\d))?)");
    static const QStringList technologies{"GSM",         "GSM",         "UTRAN",      "EDGE",
                                          "UTRAN HSDPA", "UTRAN HSUPA", "UTRAN HSPA", "LTE"};
    const auto match = form.match(QString::fromUtf8(answer));
    if (match.hasMatch())
        page.ok("operator " + match.captured(1) + ", access technology " +
                (match.captured(2).isEmpty() ? "unknown"
                                             : technologies.value(match.captured(2).toInt())));
}

} // namespace

bool checkDongle(Page &page)
{
    page.begin(Group::Dongle);
    const QString dongle = findDongle(page);
    if (dongle.isEmpty())
        return false;
    if (contentOf(UsbDevices + dongle + "/power/control") == "auto")
        page.warn("the kernel may suspend the dongle (power/control)",
                  "check the udev rules for USB power management");
    const QStringList ports = portsOf(page, dongle);
    return !ports.isEmpty() && checkOwner(page, ports) && checkUsers(page) && checkRaw(page);
}

void checkNetwork(Page &page)
{
    page.begin(Group::Network);
    AtPort port(ModemPort);
    if (!port.isOpen() || !checkSim(page, ask(port, "AT+CPIN?")))
        return;
    const CsqResponse signal = parseCsqResponse(ask(port, "AT+CSQ"));
    if (signal.noSignal || signal.percent == 0)
        page.warn("no signal", "check antenna and place");
    else
        page.ok(QString("signal %1 %").arg(signal.percent));
    checkRegistration(page, ask(port, "AT+CREG?") + ask(port, "AT+CGREG?"));
    checkOperator(page, ask(port, "AT+COPS?"));
}

} // namespace doctor
