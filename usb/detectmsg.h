// The full-screen modal dialog: one line of text and one button.
#pragma once

#include <QDialog>

class QGridLayout;
class QLabel;
class QPushButton;
class QTimer;

/** Dialog type: determines the button and the condition to wait for. */
enum Msg {
    WAIT_USB = 0,          ///< "Close"; closes when the dongle is on the USB bus
    WAIT_AUTO_CONNECT = 1, ///< "OK"; closes when 3g.sh is no longer running
    NOTICE = 2,            ///< "OK"; closed only by the operator
};

class DetectMsg : public QDialog
{
    Q_OBJECT

public:
    /**
     * @param parent the main window; not null
     * @param text the message; copied
     * @param kind one of Msg; with any other value the dialog has no button
     */
    DetectMsg(QWidget *parent, QString *text, Msg kind);
    ~DetectMsg() override;

public slots:
    /** Close the dialog if the dongle is attached or libusb fails. */
    void waitUSB();
    /** Close the dialog if 3g.sh is not running. Blocks until the check has finished. */
    void waitAutoConnect();
    /** "Close" button. If the main window has a parent, close that parent. Otherwise close the
     *  dialog, but only if the main window is visible: during start-up, only a black panel would
     *  remain. exec() then returns Accepted; it returns Rejected when the dialog closes by itself.
     */
    void closeWidget();

private:
    void startPolling(void (DetectMsg::*poll)());
    void placeButton(QPushButton *button);

    QLabel *msgLabel;
    QPushButton *okButton;
    QPushButton *closeButton;
    QGridLayout *gridLayout;
    QTimer *pollTimer = nullptr;    ///< for WAIT_USB and WAIT_AUTO_CONNECT; otherwise null
    QWidget *closeTarget = nullptr; ///< widget that "Close" closes: parent of the parent, or null
};
