// The controller's screen: layout, busy bar, display profile and style sheets.
#include "app/makeup.h"

#include "core/displayprofile.h"
#include "platform/screen.h"
#include "platform/stylesheets.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>

namespace
{

constexpr int LargeProfile = 10;

/** Set the margins and spacing shared by the status page and the misc page. */
void setLooseSpacing(QGridLayout *grid, int stretchColumn)
{
    grid->setRowStretch(2, 1);
    grid->setColumnStretch(stretchColumn, 1);
    grid->setContentsMargins(10, 20, 0, 0);
    grid->setVerticalSpacing(15);
}

} // namespace

void Makeup::getMonitorModel()
{
    monitorSize = deviceScreenSize();
    monitorModel = displayprofile::modelFor(monitorSize);
}

void Makeup::setGlobalStyle()
{
    setGlobalStyleSheet();
}

void Makeup::setStyle(QWidget *widget)
{
    setProfileStyleSheet(widget, monitorModel);
}

void Makeup::setConnect()
{
    connect(connectButton, &QPushButton::clicked, this, &Makeup::doPPPConnect);
    connect(disconnectButton, &QPushButton::clicked, this, &Makeup::doPPPDisconnect);
    connect(exitButton, &QPushButton::clicked, this, &Makeup::mClose);
    connect(pingButton, &QPushButton::clicked, this, &Makeup::pinResponse);
}

void Makeup::doShapping()
{
    shapeSettingPage();
    shapeStatusPage();
    shapeMiscPage();
    tabWidget->addTab(settingPage, tr("3G/4G Setting"));
    tabWidget->addTab(statusPage, tr("3G/4G Status"));
    tabWidget->addTab(miscPage, tr("Misc Setting"));

    buttonRow = new QHBoxLayout;
    buttonRow->addWidget(connectButton);
    buttonRow->addWidget(disconnectButton);
    buttonRow->addWidget(exitButton);

    mainLayout = new QVBoxLayout(parentWidget);
    mainLayout->addWidget(tabWidget);
    mainLayout->addLayout(buttonRow);
    parentWidget->resize(monitorSize);
}

void Makeup::shapeSettingPage()
{
    settingPage = new QWidget;
    settingGrid = new QGridLayout(settingPage);
    QWidget *const rows[][2] = {
        {apnLabel, apnEdit},           {dialNumLabel, dialNumEdit}, {userLabel, userEdit},
        {passwordLabel, passwordEdit}, {pinLabel, pinEdit},         {authLabel, authCombo},
    };
    int row = 0;
    for (const auto &[label, editor] : rows) {
        settingGrid->addWidget(label, row, 0);
        settingGrid->addWidget(editor, row, 1);
        ++row;
    }
    if (monitorModel == LargeProfile) {
        settingGrid->setRowStretch(6, 1);
        settingGrid->setContentsMargins(10, 30, 0, 0);
        settingGrid->setVerticalSpacing(30);
    }
}

void Makeup::shapeStatusPage()
{
    statusPage = new QWidget;
    statusGrid = new QGridLayout(statusPage);
    statusGrid->addWidget(dongleStatusLabel, 0, 0);
    statusGrid->addWidget(dongleStatusValue, 0, 1);
    statusGrid->addWidget(pppStatusLabel, 1, 0);
    statusGrid->addWidget(pppStatusValue, 1, 1);
    setLooseSpacing(statusGrid, 2);
}

void Makeup::shapeMiscPage()
{
    miscPage = new QWidget;
    miscGrid = new QGridLayout(miscPage);
    miscGrid->addWidget(autoConnectLabel, 0, 0);
    miscGrid->addWidget(autoYesRadio, 0, 1);
    miscGrid->addWidget(autoNoRadio, 0, 2);
    miscGrid->addWidget(countsLabel, 1, 0);
    miscGrid->addWidget(countsEdit, 1, 1, 1, 2);
    setLooseSpacing(miscGrid, 3);
}

void Makeup::progressBar(bool show)
{
    if (show) {
        busyBar = new QProgressBar(parentWidget);
        busyBar->setGeometry(displayprofile::busyBarGeometry(monitorSize));
        busyBar->setRange(0, 0);
        busyBar->show();
    } else if (busyBar != nullptr) {
        busyBar->close();
    }
}
