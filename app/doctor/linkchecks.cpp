#include "app/doctor/checks.h"
#include "core/boardpaths.h"
#include "core/diallog.h"
#include "io/linefile.h"
#include "io/linkstate.h"
#include "io/processlist.h"
#include "io/storedvalues.h"

#include <QDateTime>
#include <QFileInfo>
#include <QUrl>

namespace doctor
{

namespace
{

constexpr char Rewrite[] = "corvanta-provision NAME=VALUE writes it from all parameters, and so "
                           "does Connect after an edit";
constexpr char LinkName[] = "ppp0";

/** Report missing, short and unprotected files. @return true when there are values to check */
bool checkFile(Page &page)
{
    const linefile::ReadResult stored = linefile::read(boardpaths::ParameterFile);
    const qsizetype lines = paramlist::parseLines(stored.bytes).size();
    const QString path = boardpaths::ParameterFile;
    if (stored.state == linefile::ReadResult::Missing)
        page.warn(path + " does not exist: the defaults apply", "enter the parameters");
    else if (stored.state == linefile::ReadResult::Unreadable)
        page.fail(path + " cannot be read: " + qt_error_string(stored.error),
                  "restore the file from a copy, or delete it and enter the parameters again");
    else if (lines < paramlist::DialUpCount)
        page.fail(QString("%1 has only %2 of %3 lines")
                      .arg(path)
                      .arg(lines)
                      .arg(int(paramlist::DialUpCount)),
                  "enter the parameters again");
    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    for (const char *file :
         {boardpaths::ParameterFile, boardpaths::PeerFile, boardpaths::ChatScript}) {
        if ((QFileInfo(file).permissions() & others) != 0)
            page.warn(QString("other users can access %1").arg(file), "set its mode to 600");
    }
    return stored.state != linefile::ReadResult::Unreadable;
}

void checkGenerated(Page &page, const paramlist::ScreenValues &values)
{
    for (const storedvalues::File &file : storedvalues::generatedFiles(values)) {
        const QString path = file.path;
        switch (storedvalues::compare(file)) {
        case storedvalues::Agreement::Agrees:
            page.ok(path + " agrees with the parameters");
            break;
        case storedvalues::Agreement::Missing:
            page.fail(path + " does not exist: pppd cannot dial", Rewrite);
            break;
        case storedvalues::Agreement::Differs:
            page.warn(path + " differs from the stored parameters" +
                          (QFileInfo(path).lastModified() <
                                   QFileInfo(boardpaths::ParameterFile).lastModified()
                               ? " and is older: pppd dials with earlier values"
                               : ": pppd dials with other values"),
                      Rewrite);
        }
    }
}

/** Report why the last dial failed, unless the parameters have changed since. */
void checkLog(Page &page, bool running)
{
    const auto failure = lastDialFailure(linefile::readEnd(boardpaths::PppLog).bytes);
    const bool isOld = QFileInfo(boardpaths::PppLog).lastModified() <
                       QFileInfo(boardpaths::PeerFile).lastModified();
    if (failure && !isOld)
        page.fail((running ? "last dial: " : "pppd has given up; last dial: ") + failure->cause,
                  failure->remedy);
    else if (!running)
        page.warn("pppd is not running", "touch Connect, or run pppd call ppp-connect");
}

void checkRoute(Page &page)
{
    const QByteArray interface = linkstate::defaultInterface();
    if (interface == LinkName)
        page.ok("the default route is over ppp0");
    else if (interface.isEmpty())
        page.fail("there is no default route", "run ip route add default dev ppp0");
    else
        page.warn("the default route is over " + interface + ", not over ppp0",
                  "see A board with Ethernet in integrating.md");
}

void checkNames(Page &page)
{
    QByteArray servers = linkstate::nameServers();
    if (QFileInfo::exists("/run/systemd/resolve"))
        servers += outputOf("resolvectl", {"dns", LinkName}).simplified().split(':').value(1);
    const QString name = QUrl(CORVANTA_PROBE_URL).host();
    if (servers.isEmpty())
        page.fail("there is no name server", "see Names are not resolved in troubleshooting.md");
    else if (outputOf("getent", {"ahosts", name}).isEmpty())
        page.warn("the name servers (" + servers + ") do not resolve " + name,
                  "compare them with the operator's data");
    else
        page.ok("the name servers (" + servers + ") resolve " + name);
}

} // namespace

void checkParameters(Page &page)
{
    page.begin(Group::Parameters);
    paramlist::ScreenValues values;
    if (!checkFile(page) || !storedvalues::load(values).isEmpty())
        return;
    page.ok("APN " + values.dialUp.apn + ", dial number " + values.dialUp.dialNumber);
    for (const dialcheck::Finding &finding :
         dialcheck::check(values.dialUp, storedvalues::networkSecrets())) {
        if (!finding.dials)
            page.fail(finding.text, "correct it on the panel or with corvanta-provision");
        else if (linkstate::addressOf(LinkName).isEmpty())
            page.warn(finding.text, "compare with the operator's data");
    }
    checkGenerated(page, values);
}

void checkLink(Page &page, bool reach)
{
    page.begin(Group::Link);
    bool isRunning = false;
    for (const Process &process : allProcesses()) {
        if (process.name != "pppd")
            continue;
        isRunning = true;
        page.ok(QString("pppd (PID %1) has run for %2 s").arg(process.pid).arg(process.age));
    }
    const QString address = linkstate::addressOf(LinkName);
    if (address.isEmpty())
        return checkLog(page, isRunning);
    page.ok("ppp0 is up, address " + address);
    checkRoute(page);
    checkNames(page);
    if (reach && outputOf("ping", {"-c1", "-W3", CORVANTA_PING_TARGET}).isEmpty())
        page.fail(CORVANTA_PING_TARGET " does not answer a ping", "ask the operator");
    else if (reach)
        page.ok(CORVANTA_PING_TARGET " answers a ping");
}

} // namespace doctor
