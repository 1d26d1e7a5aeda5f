#include "app/widget.h"

#include "app/makeup.h"
#include "io/eventwait.h"
#include "platform/terminationsignals.h"
#include "usb/checkusb.h"
#include "usb/detectmsg.h"

Widget::Widget(QWidget *parent) : QWidget(parent)
{
    setWindowTitle(tr("3G"));
    setWindowFlags(Qt::FramelessWindowHint);

    Makeup *makeup = Makeup::getInstance(this);
    makeup->doShapping();
    Makeup::setGlobalStyle();
    Makeup::setStyle(this);
    makeup->loadParam();
    waitForDongle();
    const WaitResult node = waitWithEvents(
        {[makeup] { return makeup->hasModemNode(); }, &TerminationSignals::received});
    if (node == WaitResult::Ready)
        makeup->checkPPPConnect();
}

Widget::~Widget()
{
    delete detectMsg;
}

void Widget::waitForDongle()
{
    // Do not open the dialog after a termination signal: the signal has already been handled and
    // would not close it.
    if (TerminationSignals::received() || CheckUSB::checkUSB() != 0)
        return;
    QString text = tr("Undetected dongle,Please plugin and wait a moment!");
    detectMsg = new DetectMsg(this, &text, WAIT_USB);
    detectMsg->exec();
}
