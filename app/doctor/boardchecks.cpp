#include "app/doctor/checks.h"
#include "core/boardpaths.h"
#include "core/diallog.h"
#include "core/displayprofile.h"
#include "io/linefile.h"
#include "io/linkstate.h"
#include "io/processlist.h"
#include "io/shellcommand.h"
#include "io/storedvalues.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>
#include <sys/statvfs.h>
#include <sys/utsname.h>

namespace doctor
{

namespace
{

using namespace boardpaths;

constexpr char Framebuffer[] = "/dev/fb0";
constexpr char Font[] = "/usr/share/fonts/truetype/wqy/wqy-microhei.ttc";
constexpr char LinkName[] = "ppp0";
constexpr auto Others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
constexpr qint64 FirstDialS = 10; // A pppd younger than this may still get an answer.
constexpr unsigned long MinFreeBytes = 65536;
constexpr int MinMemoryKb = 16384;
constexpr qint64 AllProgramsMs = 5000;
constexpr qint64 OneProgramMs = 2000;
constexpr std::chrono::seconds PingTime{2};

QString matchIn(const QByteArray &text, const char *expression)
{
    return QRegularExpression(expression).match(QString::fromUtf8(text)).captured(1);
}

void checkDirectory(Page &page, const QString &path)
{
    struct statvfs info {
    };
    const bool isMissing = ::statvfs(qPrintable(path), &info) == -1;
    const bool isFull =
        info.f_bfree * info.f_frsize < MinFreeBytes || (info.f_files > 0 && info.f_ffree == 0);
    page.check({{isMissing, path + " is missing", "mount or create the directory"},
                {(info.f_flag & ST_RDONLY) != 0, path + " is read-only",
                 "find the reason with dmesg, then remount it with rw"},
                {isFull, path + " is full", "delete files; df shows the file system"}},
               path + " can be written");
}

void checkGenerated(Page &page, const storedvalues::File &file, QString apn, bool isUp)
{
    const QString path = file.path;
    // corvanta-provision writes all files, even if the value is the stored one.
    const QString remedy = "run corvanta-provision 'apn=" + apn.replace("'", "'\\''") +
                           "', then touch Connect on the panel";
    const auto found = storedvalues::compare(file);
    const bool differs = found == storedvalues::Agreement::Differs;
    const bool isOlder = changed(path) < changed(ParameterFile);
    page.check(
        {{found == storedvalues::Agreement::Missing, path + " does not exist, so pppd cannot dial",
          remedy},
         {differs && isOlder, path + " is older than the stored parameters and differs from them",
          remedy, isUp ? Warning : Failure},
         {differs, path + " differs from the stored parameters", remedy, Warning}},
        path + " agrees with the stored parameters");
}

void checkNames(Page &page)
{
    QByteArray servers = linkstate::nameServers();
    if (QFileInfo::exists("/run/systemd/resolve"))
        servers += matchIn(outputOf("resolvectl", {"dns", LinkName}), R"(\): *(.*))").toUtf8();
    const QString name = QUrl(CORVANTA_PROBE_URL).host();
    const bool isResolved = !outputOf("getent", {"ahosts", name}).isEmpty();
    page.check({{!isResolved && servers.isEmpty(), "there is no name server",
                 "see Names are not resolved in troubleshooting.md"},
                {!isResolved, "the name servers (" + servers + ") do not resolve " + name,
                 "compare them with the network operator's data", Warning}},
               servers.isEmpty() ? name + " is resolved by a server of another interface"
                                 : "the name servers (" + servers + ") resolve " + name);
}

} // namespace

QByteArray contentOf(const QString &path)
{
    return linefile::read(path).bytes.trimmed();
}

QDateTime changed(const QString &file)
{
    return QFileInfo(file).lastModified();
}

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    static const QDeadlineTimer deadline(AllProgramsMs);
    const std::chrono::milliseconds time(std::min(OneProgramMs, deadline.remainingTime()));
    const ShellResult result = runProgram(program, arguments, time);
    return result.status == 0 ? result.standardOutput : QByteArray();
}

void checkBoard(Page &page)
{
    page.begin("board");
    utsname kernel{};
    ::uname(&kernel);
    const QString release = matchIn(contentOf("/etc/os-release"), R"(PRETTY_NAME="?([^"\n]*))");
    const QString package = outputOf("dpkg-query", {"-Wf${Version}", "corvanta"});
    page.ok((release.isEmpty() ? "unknown release" : release) + ", Linux " + kernel.release +
            ", corvanta " CORVANTA_VERSION ", package " + (package.isEmpty() ? "none" : package));
    page.check({{changed("/proc/self/exe") > QDateTime::currentDateTime(),
                 "the clock is earlier than the build of this program", "set the clock", Warning}});
    for (const char *path : {"/quenfold/configs", "/etc/ppp", "/run"})
        checkDirectory(page, path);
    const QString memory = matchIn(contentOf("/proc/meminfo"), R"(MemAvailable: *(\d+))");
    page.check({{memory.toInt() < MinMemoryKb, memory + " KiB of memory are available",
                 "find large processes with top", Warning}});
}

void checkParameters(Page &page)
{
    page.begin("parameters");
    paramlist::ScreenValues values;
    const QString path = ParameterFile;
    const QString error = storedvalues::load(values);
    const auto lines = paramlist::parseLines(linefile::read(path).bytes).size();
    page.check({{!error.isEmpty(), error, "delete the file and enter the parameters again"},
                {!QFileInfo::exists(path), path + " does not exist, so the defaults apply",
                 "enter the parameters on the panel", Warning},
                {lines < paramlist::DialUpCount,
                 path + QString(" has %1 of %2 lines").arg(lines).arg(int(paramlist::DialUpCount)),
                 "enter the parameters again"}});
    if (!error.isEmpty())
        return;
    for (const QString file : {ParameterFile, PeerFile, ChatScript})
        page.check({{(QFileInfo(file).permissions() & Others) != 0,
                     "other users can access " + file, "set its mode to 600", Warning}});
    page.ok("stored: APN " + values.dialUp.apn + ", dial number " + values.dialUp.dialNumber);
    const bool isUp = !linkstate::addressOf(LinkName).isEmpty();
    for (const auto &finding : dialcheck::check(values.dialUp, storedvalues::networkSecrets()))
        page.check({{!finding.dials, finding.text, "correct it on the panel"},
                    {!isUp, finding.text, "compare it with the network operator's data", Warning}});
    for (const storedvalues::File &file : storedvalues::generatedFiles(values))
        checkGenerated(page, file, values.dialUp.apn, isUp);
}

void checkLink(Page &page, bool reach)
{
    page.begin("link");
    bool isRunning = false;
    bool isFirstDial = false;
    for (const Process &process : allProcesses()) {
        if (process.name != "pppd")
            continue;
        isRunning = true;
        isFirstDial = ageOf(process) < FirstDialS;
        page.ok(QString("pppd (PID %1) has been running for %2 s")
                    .arg(process.pid)
                    .arg(ageOf(process)));
    }
    const QString address = linkstate::addressOf(LinkName);
    if (address.isEmpty()) {
        // A log older than the peer file belongs to earlier values.
        const auto failure = changed(PppLog) < changed(PeerFile)
                                 ? std::nullopt
                                 : lastDialFailure(linefile::readEnd(PppLog).bytes);
        const DialFailure last = failure.value_or(DialFailure());
        page.check(
            {{failure && isRunning, "last dial: " + last.cause, last.remedy,
              isFirstDial ? Warning : Failure},
             {failure.has_value(), "pppd has given up; last dial: " + last.cause, last.remedy},
             {isRunning, "the link is down, and pppd has not reported why",
              "wait 30 s, then run this again", Warning},
             {true, "pppd is not running",
              "touch Connect on the panel, or run pppd call ppp-connect", Warning}});
        return;
    }
    page.ok("ppp0 is up, address " + address);
    const QByteArray interface = linkstate::defaultInterface();
    page.check(
        {{interface.isEmpty(), "there is no default route", "run ip route add default dev ppp0"},
         {interface != LinkName, "the default route is over " + interface,
          "see A board with Ethernet in integrating.md", Warning}},
        "the default route is over ppp0");
    checkNames(page);
    if (reach)
        page.check({{runProgram("ping", {"-c1", "-W1", CORVANTA_PING_TARGET}, PingTime).status != 0,
                     CORVANTA_PING_TARGET " does not answer a ping", "ask the network operator"}},
                   CORVANTA_PING_TARGET " answers a ping");
}

void checkScreen(Page &page)
{
    page.begin("screen");
    const QString size = contentOf("/sys/class/graphics/fb0/virtual_size").replace(',', 'x');
    const int model =
        displayprofile::modelFor({size.section(u'x', 0, 0).toInt(), size.section(u'x', 1).toInt()});
    page.check({{!QFileInfo::exists(Framebuffer), "there is no framebuffer /dev/fb0",
                 "install or load the panel's driver"},
                {model == 0, "the framebuffer of " + size + " has no display profile",
                 "see Display in integrating.md", Warning}},
               "framebuffer of " + size + ", profile " + QString::number(model));
    for (const Process &user : usersOf(Framebuffer))
        page.check({{user.name != "corvanta",
                     QString("%1 (PID %2) uses /dev/fb0, too").arg(user.name).arg(user.pid),
                     "stop that program", Warning}});
    page.check({{!QFileInfo::exists("/dev/input/touchscreen"), "udev has found no touch screen",
                 "see Touch screen in integrating.md", Warning}});
    page.check({{!QFileInfo::exists(Font), QString("there is no font ") + Font,
                 "install fonts-wqy-microhei", Warning}});
}

void checkService(Page &page)
{
    page.begin("service");
    const QByteArray found =
        outputOf("systemctl", {"show", "corvanta.service", "--property",
                               "ActiveState,NRestarts,Result,ExecMainStatus,ExecMainExitTimestamp"})
            .simplified();
    const QString state = "corvanta.service is " + matchIn(found, R"(ActiveState=(\S*))");
    const QString text = state + ": " + found;
    page.check({{found.isEmpty(), "the service's state is unknown: systemctl does not answer",
                 "find the process with pgrep -a corvanta", Warning},
                {state.endsWith("failed"), text,
                 "read journalctl -t corvanta, then run systemctl reset-failed corvanta and "
                 "systemctl start corvanta"},
                {!state.endsWith(" active"), text, "run systemctl start corvanta", Warning}},
               text);
    const QByteArray last = outputOf("journalctl", {"-b", "-q", "-n1", "-ocat", "-tcorvanta"});
    if (!last.isEmpty())
        page.ok("last message in the journal: " + last.trimmed());
}

} // namespace doctor
