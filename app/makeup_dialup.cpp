// The controller's dial-up operations: connect, disconnect, link check and status.
#include "makeup.h"

#include "io/servedwait.h"
#include "io/shellcommand.h"
#include "usb/checkusb.h"
#include "usb/detectmsg.h"

#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <chrono>

using namespace std::chrono_literals;

namespace
{

constexpr auto ConnectCheckDelay = 15000ms;
constexpr auto DisconnectCheckDelay = 3000ms;

void showState(QLabel *label, const QString &text, bool good)
{
    label->setText(text);
    label->setStyleSheet(good ? QStringLiteral("color:green;") : QStringLiteral("color:red;"));
}

} // namespace

void Makeup::doPPPConnect()
{
    connectButton->setEnabled(false);
    settingPage->setEnabled(false);
    progressBar(true);
    waitForDongle();
    if (!waitForModemNode())
        return;
    runShell(QStringLiteral("killall pppd"));
    rewriteFilesIfModified();
    runShell(QStringLiteral("pppd call ppp-connect &"));
    // Precise: a coarse timer may fire half a second early.
    QTimer::singleShot(ConnectCheckDelay, Qt::PreciseTimer, this, &Makeup::checkPPPMsg);
}

void Makeup::waitForDongle()
{
    if (CheckUSB::checkUSB() != 0 || messageDialog != nullptr)
        return;
    QString text = tr("Undetected dongle,Please plugin and wait a moment!");
    messageDialog = new DetectMsg(parentWidget, &text, WAIT_USB);
    messageDialog->exec();
}

/**
 * Waits until a ttyUSB node exists.
 * @return whether to dial. A link check can enable the button again during the wait; the newer
 *         press then takes over the wait that is under way, so that one attempt dials, once.
 */
bool Makeup::waitForModemNode()
{
    if (awaitingModemNode)
        return false;
    awaitingModemNode = true;
    const WaitResult result = waitServed({
        [this] { return checkTTYUSB() == 0; },
        [this] { return !parentWidget->isVisible(); },
    });
    awaitingModemNode = false;
    return result == WaitResult::Ready;
}

void Makeup::rewriteFilesIfModified()
{
    if (!checkParamModify())
        return;
    saveParam();
    loadParam();
    modifyConnectFile();
    modifyChatFile();
}

void Makeup::checkPPPMsg()
{
    if (checkPPPConnect())
        return;
    QString text = tr("Connect Fail! Please Check the Parameter And Try Again!");
    messageDialog = new DetectMsg(parentWidget, &text, NOTICE);
    messageDialog->exec();
}

void Makeup::doPPPDisconnect()
{
    disconnectButton->setEnabled(false);
    runShell(QStringLiteral("killall pppd"));
    QTimer::singleShot(DisconnectCheckDelay, Qt::PreciseTimer, this, &Makeup::checkPPPConnect);
}

bool Makeup::checkPPPConnect()
{
    progressBar(false);
    const bool linkUp = runShell(QStringLiteral("ifconfig | grep ppp")).status == 0;
    connectButton->setEnabled(!linkUp);
    disconnectButton->setEnabled(linkUp);
    updateStatus(linkUp);
    settingPage->setEnabled(!linkUp);
    if (linkUp)
        runShell(QStringLiteral("route add default ppp0"));
    return linkUp;
}

void Makeup::updateStatus(bool linkUp)
{
    if (CheckUSB::checkUSB() == 0)
        showState(dongleStatusValue, tr("undetected"), false);
    else if (checkTTYUSB() == 0)
        showState(dongleStatusValue, tr("detected"), true);
    showState(pppStatusValue, linkUp ? tr("connected") : tr("disconnected"), linkUp);
}
