#include "usb/detectmsg.h"

#include "core/displayprofile.h"
#include "io/boardcommands.h"
#include "platform/screen.h"
#include "platform/stylesheets.h"
#include "usb/checkusb.h"

#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <chrono>

namespace
{

constexpr std::chrono::milliseconds PollInterval{3000};

/** Event filter: on Escape, click the dialog's button. QDialog would otherwise close. */
class EscapeKey : public QObject
{
public:
    EscapeKey(QDialog *dialog, QPushButton *button) : QObject(dialog), button(button)
    {
        dialog->installEventFilter(this);
    }

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() != QEvent::KeyPress ||
            !static_cast<QKeyEvent *>(event)->matches(QKeySequence::Cancel))
            return false;
        button->click();
        return true;
    }

private:
    QPushButton *button;
};

} // namespace

DetectMsg::DetectMsg(QWidget *parent, QString *text, Msg kind) : QDialog(parent)
{
    setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);

    msgLabel = new QLabel(*text);
    msgLabel->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    msgLabel->setObjectName(QStringLiteral("msgLabel"));
    okButton = new QPushButton(tr("OK"));
    closeButton = new QPushButton(tr("Close"));
    gridLayout = new QGridLayout(this);
    gridLayout->addWidget(msgLabel, 0, 0, 1, 3);

    const QSize panel = deviceScreenSize();
    setProfileStyleSheet(this, displayprofile::modelFor(panel));
    resize(panel);
    connect(okButton, &QPushButton::clicked, this, &DetectMsg::close);
    // A closed dialog object is kept, but not its native window and backing store.
    connect(
        this, &QDialog::finished, this, [this] { destroy(); }, Qt::QueuedConnection);

    switch (kind) {
    case WAIT_USB:
        startPolling(&DetectMsg::waitUSB);
        placeButton(closeButton);
        connect(closeButton, &QPushButton::clicked, this, &DetectMsg::closeWidget);
        break;
    case WAIT_AUTO_CONNECT:
        startPolling(&DetectMsg::waitAutoConnect);
        placeButton(okButton);
        break;
    case NOTICE:
        placeButton(okButton);
        break;
    }
    closeTarget = parent->parentWidget();
}

DetectMsg::~DetectMsg()
{
    delete msgLabel;
    delete okButton;
    delete closeButton;
    delete gridLayout;
}

void DetectMsg::startPolling(void (DetectMsg::*poll)())
{
    pollTimer = new QTimer(this);
    pollTimer->setTimerType(Qt::PreciseTimer);
    connect(pollTimer, &QTimer::timeout, this, poll);
    // Stop polling once the dialog is closed.
    connect(this, &QDialog::finished, pollTimer, &QTimer::stop);
    pollTimer->start(PollInterval);
}

void DetectMsg::placeButton(QPushButton *button)
{
    gridLayout->addWidget(button, 1, 1);
    new EscapeKey(this, button); // The dialog owns it.
}

void DetectMsg::waitUSB()
{
    if (CheckUSB::checkUSB() != 0)
        close();
}

void DetectMsg::waitAutoConnect()
{
    if (!boardcommands::isAutoConnectRunning())
        close();
}

void DetectMsg::closeWidget()
{
    if (closeTarget != nullptr)
        closeTarget->close();
    else if (parentWidget()->isVisible())
        accept();
}
