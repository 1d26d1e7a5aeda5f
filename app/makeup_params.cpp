// The controller's parameters: the two parameter files, the files generated from them, and exit.
#include "makeup.h"

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

QString paramFile()
{
    return QStringLiteral("/quenfold/configs/3gparam");
}

QString autoParamFile()
{
    return QStringLiteral("/quenfold/configs/autoparam");
}

/** Replaces a list by the lines of a file, or appends the defaults when it cannot be opened. */
void loadList(QStringList &list, const QString &path, const QStringList &defaults)
{
    if (const auto content = LineFile::read(path))
        list = ParamList::parse(*content);
    else
        list.append(defaults);
}

} // namespace

void Makeup::loadParam()
{
    using namespace ParamList;
    loadList(paramList, paramFile(), dialUpDefaults());
    if (paramList.size() >= DialUpCount) {
        apnEdit->setText(paramList[Apn]);
        dialNumEdit->setText(paramList[DialNumber]);
        userEdit->setText(paramList[User]);
        passwordEdit->setText(paramList[Password]);
        pinEdit->setText(paramList[Pin]);
        authCombo->setCurrentIndex(authMethod(paramList));
    }
    loadList(autoParamList, autoParamFile(), autoConnectDefaults());
    if (autoParamList.size() >= AutoConnectCount) {
        const bool yes = autoChoice(autoParamList) == AutoChoice::Yes;
        (yes ? autoYesRadio : autoNoRadio)->setChecked(true);
        countsEdit->setText(autoParamList[Counts]);
    }
}

ParamList::ScreenValues Makeup::screenValues() const
{
    using ParamList::AutoChoice;
    ParamList::ScreenValues values;
    values.apn = apnEdit->text();
    values.dialNumber = dialNumEdit->text();
    values.user = userEdit->text();
    values.password = passwordEdit->text();
    values.pin = pinEdit->text();
    values.authMethod = authCombo->currentIndex();
    if (autoYesRadio->isChecked())
        values.autoConnect = AutoChoice::Yes;
    else if (autoNoRadio->isChecked())
        values.autoConnect = AutoChoice::No;
    values.counts = countsEdit->text();
    return values;
}

void Makeup::saveParam()
{
    const ParamList::ScreenValues values = screenValues();
    LineFile::write(paramFile(), ParamList::dialUpLines(values));
    LineFile::write(autoParamFile(), ParamList::autoConnectLines(values));
}

bool Makeup::checkParamModify()
{
    return ParamList::differs(screenValues(), paramList, autoParamList);
}

void Makeup::modifyChatFile()
{
    LineFile::write(QStringLiteral("/etc/ppp/chat/chat"), chatScriptLines(paramList));
}

void Makeup::modifyConnectFile()
{
    LineFile::write(QStringLiteral("/etc/ppp/peers/ppp-connect"),
                    peerFileLines(paramList, QStringLiteral(CORVANTA_DNS_ADDRESS)));
}

void Makeup::mClose()
{
    rotateLogs({QStringLiteral("/etc/ppp/ppp.log"), QStringLiteral("/etc/ppp/chat.log")});
    saveParam();
    parentWidget->close();
}
