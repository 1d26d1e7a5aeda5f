// The controller: owns all widgets and implements the dial-up behaviour.
//
// Implementation, in the order of the sections below:
//   makeup.cpp          construction, teardown
//   makeup_screen.cpp   layout, busy bar, display profile and style sheets
//   makeup_signals.cpp  delivers SIGUSR1 to the event loop
//   makeup_dialup.cpp   connect, disconnect, link check and status
//   makeup_params.cpp   parameter files, generated files, exit
//   makeup_probes.cpp   modem, ping and HTTP probes
#pragma once

#include "app/storedfile.h"

#include <QList>
#include <QObject>
#include <QSize>
#include <QString>

class DetectMsg;
class QComboBox;
class QGridLayout;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QNetworkReply;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QSocketNotifier;
class QTabWidget;
class QTextEdit;
class QVBoxLayout;
class QWidget;
struct CsqResponse;

namespace paramlist
{
struct AutoConnectValues;
struct DialUpValues;
struct ScreenValues;
} // namespace paramlist

class Makeup : public QObject
{
    Q_OBJECT

public:
    /**
     * Return the controller (a singleton), creating it on the first call.
     * @param parent main window (a QWidget), owner of the controller; ignored after the first call
     */
    static Makeup *getInstance(QObject *parent);
    ~Makeup() override;

    static QSize monitorSize; ///< panel size in pixels; 0x0 before the controller exists
    static int monitorModel;  ///< display profile, see displayprofile::modelFor()

    // --- Screen -------------------------------------------------------------------------------
    /** Lay out the widgets on three tab pages and a button row, and resize the main window to the
     *  panel. */
    void doShapping();
    /** Connect the buttons to their slots. */
    void setConnect();
    /** Show a new busy bar (true) or close the current one (false). */
    void progressBar(bool show);
    /** Store the panel size in monitorSize and its display profile in monitorModel. */
    static void getMonitorModel();
    /** Apply the style sheet shared by all profiles to the application. */
    static void setGlobalStyle();
    /** Apply the style sheet of the display profile to a widget. No effect without a profile. */
    static void setStyle(QWidget *widget);

    // --- Signal bridge (Qt documentation, "Calling Qt Functions From Unix Signal Handlers") -----
    /** Install the SIGUSR1 handler. @return the result of sigaction(2) */
    static int setup_unix_signal_handlers();
    /** SIGUSR1 handler: write one byte to the socket pair. Never blocks. */
    static void usrSignalHandler(int);
    /** Pair of connected stream sockets, both non-blocking. The handler writes to [0], the notifier
     *  reads from [1]. They are never closed. */
    static int sigUsrFd[2];

    // --- Dial-up ------------------------------------------------------------------------------
    /** Show the state of the dongle and of the link in the status labels. */
    void updateStatus(bool linkUp);

    // --- Parameters ---------------------------------------------------------------------------
    /** Read both parameter files into the lists and show their values. */
    void loadParam();
    /** @return true when the screen differs from the lists of the last load */
    [[nodiscard]] bool checkParamModify();
    /** Write the chat script from the lists. */
    void modifyChatFile();
    /** Write the pppd peer file from the lists. */
    void modifyConnectFile();

    // --- Probes -------------------------------------------------------------------------------
    /** @return 0 when a /dev/ttyUSB* device node exists, 1 when none exists, any other value when
     *          the check itself failed */
    [[nodiscard]] int checkTTYUSB();
    /** @return true when a /dev/ttyUSB* device node exists */
    [[nodiscard]] bool hasModemNode();
    /** Start fetching the probe URL; managerFinished() receives the result. */
    void httpGet();

public slots:
    /** Save the values on the screen to both parameter files. */
    void saveParam();
    /** Connect button: make one connection attempt. The link is checked 15 s after pppd was
     *  started. */
    void doPPPConnect();
    /** Disconnect button: terminate every pppd. The link is checked 3 s later. */
    void doPPPDisconnect();
    /** Check the link and update the buttons, the setting page and the labels.
     *  @return true when the link is up */
    bool checkPPPConnect();
    /** Finish a connection attempt: check the link and show a notice if it is down. */
    void checkPPPMsg();
    /** Ping button: ping three times and show the output. Blocks until ping exits. */
    void pinResponse();
    /** Handle one SIGUSR1: check the link. */
    void handleSigUsr();
    /** Exit button: rotate the logs, save the parameters and close the main window. */
    void mClose();
    /** Log the body or the error of a finished HTTP probe; delete the reply and its access
     *  manager. */
    void managerFinished(QNetworkReply *reply);
    /**
     * Query the signal strength from the modem and show it.
     * @param request 1 to query; with any other value the function does nothing
     * @return 0 when the modem answered or request is not 1; the value of checkTTYUSB() when there
     *         is no device node; -1 when the port fails, the modem does not answer within 3 s, or
     *         the main window closes
     */
    int checkSignalStrength(int request);

private:
    friend class MakeupTest;

    explicit Makeup(QObject *parent);

    void createSettingWidgets();
    void createStatusWidgets();
    void createMiscWidgets();
    void createButtons();
    void createSignalBridge();
    void trackEdits();
    void shapeSettingPage();
    void shapeStatusPage();
    void shapeMiscPage();
    [[nodiscard]] bool waitForDongle();
    [[nodiscard]] bool waitForModemNode();
    void abandonConnect();
    void rewriteFilesIfModified();
    bool isScreenBuilt() const { return statusPage != nullptr; }
    [[nodiscard]] paramlist::ScreenValues screenValues() const;
    void showDialUp(const paramlist::DialUpValues &values);
    void showAutoConnect(const paramlist::AutoConnectValues &values);
    void showSignal(const CsqResponse &reply);

    static Makeup *instancePtr;

    QWidget *parentWidget = nullptr; ///< the main window

    // Setting page
    QLabel *apnLabel = nullptr;
    QLineEdit *apnEdit = nullptr;
    QLabel *dialNumLabel = nullptr;
    QLineEdit *dialNumEdit = nullptr;
    QLabel *userLabel = nullptr;
    QLineEdit *userEdit = nullptr;
    QLabel *passwordLabel = nullptr;
    QLineEdit *passwordEdit = nullptr;
    QLabel *pinLabel = nullptr;
    QLineEdit *pinEdit = nullptr;
    QLabel *authLabel = nullptr;
    QComboBox *authCombo = nullptr;

    // Button row
    QPushButton *connectButton = nullptr;
    QPushButton *disconnectButton = nullptr;
    QPushButton *exitButton = nullptr;

    // Status page
    QLabel *pppStatusLabel = nullptr;
    QLabel *pppStatusValue = nullptr;
    QLabel *dongleStatusLabel = nullptr;
    QLabel *dongleStatusValue = nullptr;

    // Not on any page
    QLabel *signalLabel = nullptr;
    QLabel *signalValue = nullptr;
    QProgressBar *signalBar = nullptr;

    // Misc page
    QLabel *autoConnectLabel = nullptr;
    QRadioButton *autoYesRadio = nullptr;
    QRadioButton *autoNoRadio = nullptr;
    QLabel *countsLabel = nullptr;
    QLineEdit *countsEdit = nullptr;

    // Not on any page
    QPushButton *pingButton = nullptr;
    QTextEdit *pingOutput = nullptr;

    // Pages and layouts; each widget owns its layout
    QWidget *settingPage = nullptr;
    QWidget *statusPage = nullptr;
    QWidget *miscPage = nullptr;
    QTabWidget *tabWidget = nullptr;
    QGridLayout *settingGrid = nullptr;
    QGridLayout *statusGrid = nullptr;
    QGridLayout *miscGrid = nullptr;
    QHBoxLayout *buttonRow = nullptr;
    QVBoxLayout *mainLayout = nullptr;

    QProgressBar *busyBar = nullptr;    ///< the most recent one; hidden after it is closed
    DetectMsg *messageDialog = nullptr; ///< the most recent one, open or closed

    QList<QString> paramList;     ///< lines of the parameter file, from the last load
    QList<QString> autoParamList; ///< lines of the auto-connect file, from the last load

    QSocketNotifier *sigUsrNotifier = nullptr;

    StoredFile dialUpFile;
    StoredFile autoConnectFile;
    bool awaitingModemNode = false; ///< true while a connection attempt waits for the device node
};
