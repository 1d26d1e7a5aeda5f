// The controller's dial-up operations: connect, disconnect, link check and status.
#include "app/makeup.h"

#include "core/boardpaths.h"
#include "io/boardcommands.h"
#include "io/eventwait.h"
#include "io/logrotation.h"
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
    // Qt repolishes and repaints the label even if the style sheet is unchanged.
    if (label->styleSheet() != sheet)
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
    boardcommands::terminateAllPppd();
    rewriteFilesIfModified();
    makePrivateLogs({boardpaths::PppLog, boardpaths::ChatLog});
    boardcommands::dial();
    // Qt::CoarseTimer, the default, may be off by 5 %, here 0.75 s.
    QTimer::singleShot(ConnectCheckDelay, Qt::PreciseTimer, this, &Makeup::checkPPPMsg);
}

/**
 * Show the dialog that waits for the dongle, unless the dongle is attached or an earlier attempt
 * has shown a dialog.
 * @return false when the operator closed the dialog and there is no device node: the attempt ends
 */
bool Makeup::waitForDongle()
{
    if (CheckUSB::checkUSB() != 0 || messageDialog != nullptr)
        return true;
    QString text = tr("Undetected dongle,Please plugin and wait a moment!");
    messageDialog = new DetectMsg(parentWidget, &text, WAIT_USB);
    return messageDialog->exec() == QDialog::Rejected || hasModemNode();
}

/** Cancel this attempt and an earlier one that waits for the device node; restore the screen to the
 *  state of the link. */
void Makeup::abandonConnect()
{
    awaitingModemNode = false;
    checkPPPConnect();
}

/**
 * Wait until a ttyUSB device node exists. If a link check enables Connect during the wait, a second
 * press returns immediately, so that only the first attempt dials, once.
 * @return true when this attempt should dial
 */
bool Makeup::waitForModemNode()
{
    if (awaitingModemNode)
        return false;
    awaitingModemNode = true;
    const WaitResult result = waitWithEvents({
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
    boardcommands::terminateAllPppd();
    QTimer::singleShot(DisconnectCheckDelay, Qt::PreciseTimer, this, &Makeup::checkPPPConnect);
}

bool Makeup::checkPPPConnect()
{
    progressBar(false);
    const bool linkUp = boardcommands::isLinkUp();
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
