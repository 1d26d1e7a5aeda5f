// The controller's parameters: the two parameter files, the files generated from them, and exit.
#include "app/makeup.h"

#include "core/boardpaths.h"
#include "core/chatscript.h"
#include "core/paramlist.h"
#include "core/peerfile.h"
#include "io/linefile.h"
#include "io/logrotation.h"
#include "io/parameterlock.h"

#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>
#include <chrono>

using namespace std::chrono_literals;

namespace
{

constexpr auto LockTimeout = 300ms; // The user interface is blocked meanwhile.

} // namespace

void Makeup::trackEdits()
{
    for (QLineEdit *edit : {apnEdit, dialNumEdit, userEdit, passwordEdit, pinEdit})
        connect(edit, &QLineEdit::textEdited, this, [this] { dialUpFile.noteEdit(); });
    connect(authCombo, &QComboBox::activated, this, [this] { dialUpFile.noteEdit(); });
    for (QRadioButton *radio : {autoYesRadio, autoNoRadio})
        connect(radio, &QRadioButton::clicked, this, [this] { autoConnectFile.noteEdit(); });
    connect(countsEdit, &QLineEdit::textEdited, this, [this] { autoConnectFile.noteEdit(); });
}

void Makeup::loadParam()
{
    const ParameterLock lock(LockTimeout);
    dialUpFile.load(paramList);
    if (const auto values = paramlist::dialUpValues(paramList))
        showDialUp(*values);
    autoConnectFile.load(autoParamList);
    if (const auto values = paramlist::autoConnectValues(autoParamList))
        showAutoConnect(*values);
}

void Makeup::showDialUp(const paramlist::DialUpValues &values)
{
    apnEdit->setText(values.apn);
    dialNumEdit->setText(values.dialNumber);
    userEdit->setText(values.user);
    passwordEdit->setText(values.password);
    pinEdit->setText(values.pin);
    authCombo->setCurrentIndex(values.authMethod);
}

void Makeup::showAutoConnect(const paramlist::AutoConnectValues &values)
{
    const bool yes = values.choice == paramlist::AutoChoice::Yes;
    (yes ? autoYesRadio : autoNoRadio)->setChecked(true);
    countsEdit->setText(values.counts);
}

paramlist::ScreenValues Makeup::screenValues() const
{
    using paramlist::AutoChoice;
    AutoChoice choice = AutoChoice::Unset;
    if (autoYesRadio->isChecked())
        choice = AutoChoice::Yes;
    else if (autoNoRadio->isChecked())
        choice = AutoChoice::No;
    return {{apnEdit->text(), dialNumEdit->text(), userEdit->text(), passwordEdit->text(),
             pinEdit->text(), authCombo->currentIndex()},
            {choice, countsEdit->text()}};
}

void Makeup::saveParam()
{
    const ParameterLock lock(LockTimeout); // Save even if the lock cannot be acquired.
    const paramlist::ScreenValues values = screenValues();
    dialUpFile.save(paramlist::dialUpLines(values.dialUp));
    autoConnectFile.save(paramlist::autoConnectLines(values.autoConnect));
}

bool Makeup::checkParamModify()
{
    return paramlist::differs(screenValues(), paramList, autoParamList);
}

void Makeup::modifyChatFile()
{
    linefile::write(boardpaths::ChatScript, chatScriptLines(paramList));
}

void Makeup::modifyConnectFile()
{
    linefile::write(boardpaths::PeerFile,
                    peerFileLines(paramList, QStringLiteral(CORVANTA_DNS_ADDRESS)));
}

void Makeup::rewriteFilesIfModified()
{
    const ParameterLock lock(LockTimeout);
    if (!checkParamModify())
        return;
    saveParam();
    loadParam();
    if (dialUpFile.isUnknown())
        return;
    modifyConnectFile();
    modifyChatFile();
}

void Makeup::mClose()
{
    rotateLogs({boardpaths::PppLog, boardpaths::ChatLog});
    saveParam();
    parentWidget->close();
}
