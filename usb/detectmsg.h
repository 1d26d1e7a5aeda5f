// The full-screen modal dialog: one line of text and one button.
#pragma once

#include <QDialog>

class QGridLayout;
class QLabel;
class QPushButton;
class QTimer;

/** Kind of the dialog: which button it shows and what it waits for. */
enum Msg {
    WAIT_USB = 0,          ///< "Close"; closes itself when the dongle is on the USB bus
    WAIT_AUTO_CONNECT = 1, ///< "OK"; closes itself when no 3g.sh is running any more
    NOTICE = 2,            ///< "OK"; waits for the operator alone
};

class DetectMsg : public QDialog
{
    Q_OBJECT

public:
    /**
     * @param parent the main window; not null
     * @param text the message; copied
     * @param kind one of Msg; any other value shows just the text
     */
    DetectMsg(QWidget *parent, QString *text, Msg kind);
    ~DetectMsg() override;

public slots:
    /** Closes the dialog when the dongle is there (or when the USB library fails). */
    void waitUSB();
    /** Closes the dialog when no process runs 3g.sh. Blocks while the probe runs. */
    void waitAutoConnect();
    /** The "Close" button: closes the main window's own parent. Without such a parent it closes the
     *  dialog, but only over a visible main window: at start-up the panel would be black.
     *  exec() returns Accepted then, and Rejected when the dialog closed itself. */
    void closeWidget();

private:
    void startPolling(void (DetectMsg::*poll)());
    void placeButton(QPushButton *button);

    QLabel *msgLabel;
    QPushButton *okButton;
    QPushButton *closeButton;
    QGridLayout *gridLayout;
    QTimer *pollTimer = nullptr;    ///< of the kinds 0 and 1
    QWidget *closeTarget = nullptr; ///< what "Close" closes: the parent's own parent
};
