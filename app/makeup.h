// The controller: owns every widget of the screen and carries all dial-up behaviour.
//
// Implementation, in the order of the sections below:
//   makeup.cpp          construction, teardown
//   makeup_screen.cpp   layout, busy bar, display profile and style sheets
//   makeup_signals.cpp  SIGUSR1 into the event loop
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
struct SignalReply;

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
     * Gives the one controller. The first call creates it.
     * @param parent main window (a QWidget), which owns the controller; later calls ignore it
     */
    static Makeup *getInstance(QObject *parent);
    ~Makeup() override;

    static QSize monitorSize; ///< the panel in pixels; 0x0 until the controller exists
    static int monitorModel;  ///< display profile 4, 7, 10, or 0 for any other size

    // --- Screen -------------------------------------------------------------------------------
    /** Lays the widgets out on three tab pages and a button row, and sizes the main window. */
    void doShapping();
    /** Connects the buttons to their slots. */
    void setConnect();
    /** Shows a new busy bar (true) or hides the current one (false). */
    void progressBar(bool show);
    /** Reads the panel's size into monitorSize and classifies it into monitorModel. */
    static void getMonitorModel();
    /** Installs the style sheet that every profile shares on the application. */
    static void setGlobalStyle();
    /** Installs the profile's style sheet on a window. Without a profile nothing changes. */
    static void setStyle(QWidget *widget);

    // --- Signal bridge ------------------------------------------------------------------------
    /** Installs the SIGUSR1 handler. @return the result of sigaction(2) */
    static int setup_unix_signal_handlers();
    /** The handler: one byte into the socket pair. Never blocks. */
    static void usrSignalHandler(int);
    /** Pair of connected stream sockets, both non-blocking. The handler writes to [0], the notifier
     *  reads from [1]. They are never closed. */
    static int sigUsrFd[2];

    // --- Dial-up ------------------------------------------------------------------------------
    /** Writes the dongle's and the link's state into the two status labels. */
    void updateStatus(bool linkUp);

    // --- Parameters ---------------------------------------------------------------------------
    /** Reads both parameter files into the lists and shows their values. */
    void loadParam();
    /** @return whether the screen differs from the lists that were last loaded */
    bool checkParamModify();
    /** Writes the chat script from the lists. */
    void modifyChatFile();
    /** Writes the pppd peer file from the lists. */
    void modifyConnectFile();

    // --- Probes -------------------------------------------------------------------------------
    /** @return 0 when /dev has a ttyUSB node, 1 when it has none, else the shell's failure */
    int checkTTYUSB();
    /** @return whether /dev has a ttyUSB node */
    bool hasModemNode();
    /** Starts to fetch the probe page. managerFinished() gets the outcome. */
    void httpGet();

public slots:
    /** Writes both parameter files from the screen. */
    void saveParam();
    /** The Connect button: makes one attempt. The link is checked 15 s after pppd has started. */
    void doPPPConnect();
    /** The Disconnect button: stops every pppd. The link is checked 3 s later. */
    void doPPPDisconnect();
    /** Checks the link and sets buttons, setting page and labels from it. @return whether it is up
     */
    bool checkPPPConnect();
    /** Ends an attempt: checks the link, and shows a notice when it is down. */
    void checkPPPMsg();
    /** The ping button: pings three times and shows what ping printed. Blocks meanwhile. */
    void pinResponse();
    /** Serves one SIGUSR1 with one link check. */
    void handleSigUsr();
    /** The Exit button: rotates the logs, saves the parameters and closes the main window. */
    void mClose();
    /** Logs the body or the error of a finished HTTP probe and releases it with its manager. */
    void managerFinished(QNetworkReply *reply);
    /**
     * Asks the modem for its received signal strength and shows the answer.
     * @param request 1 to ask; any other value does nothing
     * @return 0 when the modem answered or was not asked; checkTTYUSB() when there is no node; -1
     *         when the port fails, the modem is silent for 3 s, or the main window closes
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
    bool waitForDongle();
    bool waitForModemNode();
    void abandonConnect();
    void rewriteFilesIfModified();
    bool isScreenBuilt() const { return statusPage != nullptr; }
    paramlist::ScreenValues screenValues() const;
    void showDialUp(const paramlist::DialUpValues &values);
    void showAutoConnect(const paramlist::AutoConnectValues &values);
    void showSignal(const SignalReply &reply);

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

    // On no page
    QLabel *signalLabel = nullptr;
    QLabel *signalValue = nullptr;
    QProgressBar *signalBar = nullptr;

    // Misc page
    QLabel *autoConnectLabel = nullptr;
    QRadioButton *autoYesRadio = nullptr;
    QRadioButton *autoNoRadio = nullptr;
    QLabel *countsLabel = nullptr;
    QLineEdit *countsEdit = nullptr;

    // On no page
    QPushButton *pingButton = nullptr;
    QTextEdit *pingOutput = nullptr;

    // Pages and layouts; the layouts belong to the widgets that they lay out
    QWidget *settingPage = nullptr;
    QWidget *statusPage = nullptr;
    QWidget *miscPage = nullptr;
    QTabWidget *tabWidget = nullptr;
    QGridLayout *settingGrid = nullptr;
    QGridLayout *statusGrid = nullptr;
    QGridLayout *miscGrid = nullptr;
    QHBoxLayout *buttonRow = nullptr;
    QVBoxLayout *mainLayout = nullptr;

    QProgressBar *busyBar = nullptr;    ///< the newest; hidden once closed
    DetectMsg *messageDialog = nullptr; ///< the newest; open or closed

    QList<QString> paramList;     ///< lines of the parameter file, from the last load
    QList<QString> autoParamList; ///< lines of the auto-connect file, from the last load

    QSocketNotifier *sigUsrNotifier = nullptr;

    StoredFile dialUpFile;
    StoredFile autoConnectFile;
    bool awaitingModemNode = false; ///< an attempt waits for the modem's serial node
};
