#include "app/makeup.h"

#include "core/boardpaths.h"
#include "core/paramlist.h"
#include "usb/detectmsg.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSocketNotifier>
#include <QTabWidget>
#include <QTextEdit>

Makeup *Makeup::instancePtr = nullptr;
QSize Makeup::monitorSize(0, 0);
int Makeup::monitorModel = 0;

Makeup *Makeup::getInstance(QObject *parent)
{
    if (instancePtr == nullptr)
        instancePtr = new Makeup(parent);
    return instancePtr;
}

Makeup::Makeup(QObject *parent)
    : QObject(parent), dialUpFile(boardpaths::ParameterFile, paramlist::dialUpDefaults()),
      autoConnectFile(boardpaths::AutoConnectFile, paramlist::autoConnectDefaults())
{
    createSettingWidgets();
    createStatusWidgets();
    createMiscWidgets();
    createButtons();
    trackEdits();
    parentWidget = qobject_cast<QWidget *>(parent);
    tabWidget = new QTabWidget(parentWidget);
    getMonitorModel();
    setConnect();
    createSignalBridge();
}

void Makeup::createSettingWidgets()
{
    apnLabel = new QLabel(tr("APN NAME:"));
    apnEdit = new QLineEdit;
    dialNumLabel = new QLabel(tr("Dial Num:"));
    dialNumEdit = new QLineEdit;
    userLabel = new QLabel(tr("USER:"));
    userEdit = new QLineEdit;
    passwordLabel = new QLabel(tr("PASSWORD:"));
    passwordEdit = new QLineEdit;
    passwordEdit->setEchoMode(QLineEdit::Password);
    pinLabel = new QLabel(tr("PinCode:"));
    pinEdit = new QLineEdit;
    for (QLineEdit *edit : {apnEdit, userEdit, passwordEdit})
        edit->setInputMethodHints(edit->inputMethodHints() | Qt::ImhNoPredictiveText |
                                  Qt::ImhNoAutoUppercase);
    dialNumEdit->setInputMethodHints(Qt::ImhDialableCharactersOnly);
    pinEdit->setInputMethodHints(Qt::ImhDigitsOnly);
    authLabel = new QLabel(tr("APN Auth Methods:"));
    authCombo = new QComboBox;
    authCombo->insertItem(0, tr("AUTO"));
    authCombo->insertItem(1, tr("PAP"));
    authCombo->insertItem(2, tr("CHAP"));
}

void Makeup::createStatusWidgets()
{
    dongleStatusLabel = new QLabel(tr("Dongle Status:"));
    dongleStatusValue = new QLabel;
    pppStatusLabel = new QLabel(tr("PPP Status:"));
    pppStatusValue = new QLabel;
    signalLabel = new QLabel(tr("Signal Strength:"));
    signalValue = new QLabel;
    signalValue->setTextFormat(Qt::PlainText); // A modem's reply may look like rich text.
    signalBar = new QProgressBar;
    signalBar->setRange(0, 100);
}

void Makeup::createMiscWidgets()
{
    autoConnectLabel = new QLabel(tr("Auto Connect:"));
    autoYesRadio = new QRadioButton(tr("YES"));
    autoNoRadio = new QRadioButton(tr("NO"));
    countsLabel = new QLabel(tr("Counts:"));
    countsEdit = new QLineEdit;
    countsEdit->setInputMethodHints(Qt::ImhDigitsOnly);
}

void Makeup::createButtons()
{
    pingButton = new QPushButton(QStringLiteral("Ping hinet"));
    pingOutput = new QTextEdit;
    connectButton = new QPushButton(tr("Connect"));
    disconnectButton = new QPushButton(tr("Disconnect"));
    exitButton = new QPushButton(tr("Exit"));
}

Makeup::~Makeup()
{
    parentWidget = nullptr;
    instancePtr = nullptr;

    // Delete children before their pages and the pages before the tab widget: a parent deletes its
    // children.
    QWidget *const owned[] = {
        apnLabel,          apnEdit,          dialNumLabel,   dialNumEdit,    userLabel,
        userEdit,          passwordLabel,    passwordEdit,   pinLabel,       pinEdit,
        authLabel,         authCombo,        pppStatusLabel, pppStatusValue, dongleStatusLabel,
        dongleStatusValue, signalLabel,      signalValue,    connectButton,  disconnectButton,
        exitButton,        autoConnectLabel, autoYesRadio,   autoNoRadio,    countsLabel,
        countsEdit,        settingPage,      statusPage,     miscPage,       tabWidget,
        messageDialog,     signalBar,        pingButton,     pingOutput,
    };
    for (QWidget *widget : owned)
        delete widget;

    settingGrid = nullptr;
    statusGrid = nullptr;
    miscGrid = nullptr;
    buttonRow = nullptr;
    mainLayout = nullptr;
    delete sigUsrNotifier;
}
