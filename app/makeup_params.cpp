// The controller's parameters: the two parameter files, the files generated from them, and exit.
#include "app/makeup.h"

#include "core/boardpaths.h"
#include "core/chatscript.h"
#include "core/paramlist.h"
#include "core/peerfile.h"
#include "io/linefile.h"
#include "io/logrotation.h"

#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>

namespace
{

/**
 * Replaces a list by the lines of a file, or appends the defaults when it cannot be read.
 * @return whether the file holds something that could not be read
 */
bool loadList(QStringList &list, const char *path, const QStringList &defaults)
{
    const linefile::Content content = linefile::read(path);
    if (content.state == linefile::Content::Whole)
        list = paramlist::parse(content.bytes);
    else
        list.append(defaults);
    return content.state == linefile::Content::Unreadable;
}

/** Saves lines, but never defaults that nobody typed over what could not be read. */
void saveList(const char *path, const QStringList &lines, bool unread, const QStringList &defaults)
{
    if (!unread || lines != defaults)
        linefile::write(path, lines);
}

} // namespace

void Makeup::loadParam()
{
    dialUpUnread = loadList(paramList, boardpaths::ParameterFile, paramlist::dialUpDefaults());
    if (const auto values = paramlist::dialUpValues(paramList))
        showDialUp(*values);
    autoConnectUnread =
        loadList(autoParamList, boardpaths::AutoConnectFile, paramlist::autoConnectDefaults());
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
    const paramlist::ScreenValues values = screenValues();
    saveList(boardpaths::ParameterFile, paramlist::dialUpLines(values.dialUp), dialUpUnread,
             paramlist::dialUpDefaults());
    saveList(boardpaths::AutoConnectFile, paramlist::autoConnectLines(values.autoConnect),
             autoConnectUnread, paramlist::autoConnectDefaults());
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

void Makeup::mClose()
{
    rotateLogs({boardpaths::PppLog, boardpaths::ChatLog});
    saveParam();
    parentWidget->close();
}
