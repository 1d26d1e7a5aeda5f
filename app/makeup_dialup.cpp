// The controller's dial-up operations: connect, disconnect, link check and status.
#include "app/makeup.h"

#include "core/boardpaths.h"
#include "io/boardcommands.h"
#include "io/logrotation.h"
#include "io/servedwait.h"
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
    const QString sheet = good ? QStringLiteral("color:green;") : QStringLiteral("color:red;");
    if (label->styleSheet() != sheet) // Qt polishes and repaints a label even for the same sheet.
        label->setStyleSheet(sheet);
}

} // namespace

void Makeup::doPPPConnect()
{
    connectButton->setEnabled(false);
    settingPage->setEnabled(false);
    progressBar(true);
    if (!waitForDongle()) {
        abandonConnect();
        return;
    }
    if (!waitForModemNode())
        return;
    boardcommands::stopAll();
    rewriteFilesIfModified();
    makePrivateLogs({boardpaths::PppLog, boardpaths::ChatLog});
    boardcommands::dial();
    // A coarse timer may fire half a second early.
    QTimer::singleShot(ConnectCheckDelay, Qt::PreciseTimer, this, &Makeup::checkPPPMsg);
}

/** @return whether the attempt goes on: not when the operator closes the dialog without a node */
bool Makeup::waitForDongle()
{
    if (CheckUSB::checkUSB() != 0 || messageDialog != nullptr)
        return true;
    QString text = tr("Undetected dongle,Please plugin and wait a moment!");
    messageDialog = new DetectMsg(parentWidget, &text, WAIT_USB);
    return messageDialog->exec() == QDialog::Rejected || hasModemNode();
}

/** Ends this attempt and an older one that waits for the node, and gives the screen back. */
void Makeup::abandonConnect()
{
    awaitingModemNode = false;
    checkPPPConnect();
}

/**
 * Waits until a ttyUSB node exists. A link check can enable Connect during the wait. A newer press
 * then returns at once and leaves the wait to the older one, so that one attempt dials, once.
 * @return whether to dial
 */
bool Makeup::waitForModemNode()
{
    if (awaitingModemNode)
        return false;
    awaitingModemNode = true;
    const WaitResult result = waitServed({
        [this] { return hasModemNode(); },
        [this] { return !awaitingModemNode || !parentWidget->isVisible(); },
    });
    awaitingModemNode = false;
    return result == WaitResult::Ready;
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
    boardcommands::stopAll();
    QTimer::singleShot(DisconnectCheckDelay, Qt::PreciseTimer, this, &Makeup::checkPPPConnect);
}

bool Makeup::checkPPPConnect()
{
    progressBar(false);
    const bool linkUp = boardcommands::isUp();
    connectButton->setEnabled(!linkUp);
    disconnectButton->setEnabled(linkUp);
    updateStatus(linkUp);
    settingPage->setEnabled(!linkUp);
    if (linkUp)
        boardcommands::setDefaultRoute();
    return linkUp;
}

void Makeup::updateStatus(bool linkUp)
{
    if (CheckUSB::checkUSB() == 0)
        showState(dongleStatusValue, tr("undetected"), false);
    else if (hasModemNode())
        showState(dongleStatusValue, tr("detected"), true);
    showState(pppStatusValue, linkUp ? tr("connected") : tr("disconnected"), linkUp);
}
