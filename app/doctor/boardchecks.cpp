#include "app/doctor/checks.h"
#include "core/displayprofile.h"
#include "io/linefile.h"
#include "io/processlist.h"
#include "io/shellcommand.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QRegularExpression>
#include <sys/statvfs.h>
#include <sys/utsname.h>

namespace doctor
{

namespace
{

constexpr char PackageFiles[] = "/var/lib/dpkg/info/corvanta.list";
constexpr char PackageStatus[] = "/var/lib/dpkg/status";
constexpr char Framebuffer[] = "/dev/fb0";
constexpr char Font[] = "/usr/share/fonts/truetype/wqy/wqy-microhei.ttc";
constexpr unsigned long MinFreeBytes = 65536;
constexpr int ProgramsTimeMs = 5000;
constexpr int MinMemoryKb = 16384;
constexpr char ExitNoDisplay[] = "69";

QString matchIn(const QByteArray &text, const char *expression)
{
    return QRegularExpression(expression).match(QString::fromUtf8(text)).captured(1);
}

void checkVersions(Page &page)
{
    utsname kernel{};
    ::uname(&kernel);
    const QString package = matchIn(linefile::read(PackageStatus).bytes,
                                    R"(Package: corvanta\n(?:.+\n)*?Version: (.+))");
    page.ok(QString("%1, Linux %2, corvanta %3, package %4")
                .arg(matchIn(contentOf("/etc/os-release"), R"(PRETTY_NAME="?([^"\n]*))"),
                     kernel.release, CORVANTA_VERSION, package.isEmpty() ? "unknown" : package));
    const QDateTime installed = QFileInfo(PackageFiles).lastModified();
    const QDateTime now = QDateTime::currentDateTime();
    if (installed.isValid() && now < installed)
        page.warn("the clock says " + now.toString(Qt::ISODate) +
                      ", which is before the package was installed",
                  "set the clock");
}

void checkDirectory(Page &page, const char *path)
{
    struct statvfs info {
    };
    if (::statvfs(path, &info) == -1)
        return page.fail(QString("%1 is missing").arg(path), "mount or create the directory");
    if ((info.f_flag & ST_RDONLY) != 0)
        return page.fail(QString("%1 is read-only: nothing can be stored there").arg(path),
                         "find the reason with dmesg, then remount it with rw");
    if (info.f_bfree * info.f_frsize < MinFreeBytes || (info.f_files > 0 && info.f_ffree == 0))
        return page.fail(QString("%1 is full: nothing can be stored there").arg(path),
                         "delete files that are not needed; df shows the file system");
    page.ok(QString("%1 can be written").arg(path));
}

} // namespace

QByteArray contentOf(const QString &path)
{
    return linefile::read(path).bytes.trimmed();
}

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    static const QDeadlineTimer deadline(ProgramsTimeMs);
    const ShellResult result =
        runProgram(program, arguments, std::chrono::milliseconds(deadline.remainingTime()));
    return result.status == 0 ? result.standardOutput : QByteArray();
}

void checkBoard(Page &page)
{
    page.begin(Group::Board);
    checkVersions(page);
    for (const char *path : {"/quenfold/configs", "/etc/ppp", "/run"})
        checkDirectory(page, path);
    const int available = matchIn(contentOf("/proc/meminfo"), R"(MemAvailable: *(\d+))").toInt();
    if (available < MinMemoryKb)
        page.warn(QString("only %1 KiB of memory are available").arg(available),
                  "find large processes with top");
}

void checkScreen(Page &page)
{
    page.begin(Group::Screen);
    if (!QFileInfo::exists(Framebuffer)) {
        page.fail("there is no framebuffer /dev/fb0", "install or load the panel's driver");
    } else {
        const QByteArray size = contentOf("/sys/class/graphics/fb0/virtual_size");
        const QList<QByteArray> sides = size.split(',');
        const int model = displayprofile::modelFor({sides[0].toInt(), sides.value(1).toInt()});
        if (model == 0)
            page.warn("the framebuffer of size " + size + " has no display profile",
                      "use 480,272 or 800,480 or 1280,800");
        else
            page.ok(QString("framebuffer of %1, profile %2").arg(QString(size)).arg(model));
    }
    for (const Process &user : usersOf(Framebuffer)) {
        if (user.name != "corvanta")
            page.warn(QString("%1 (PID %2) uses the framebuffer, too")
                          .arg(QString(user.name))
                          .arg(user.pid),
                      "stop that program");
    }
    if (!QFileInfo::exists("/dev/input/touchscreen"))
        page.warn("udev has found no touch screen", "see Touch screen in integrating.md");
    if (!QFileInfo::exists(Font))
        page.warn(QString("the font %1 is missing").arg(Font), "install fonts-wqy-microhei");
}

void checkService(Page &page)
{
    page.begin(Group::Service);
    const QByteArray shown = outputOf("systemctl", {"show", "corvanta.service"});
    const QString state = matchIn(shown, "\nActiveState=(.*)");
    if (state.isEmpty())
        return page.warn("could not look: systemctl is missing or does not answer",
                         "find the process with pgrep -a corvanta");
    const QString status = matchIn(shown, "\nExecMainStatus=(.*)");
    const QString text =
        QString("the panel is %1; restarts %2, last result %3, last status %4%5")
            .arg(state, matchIn(shown, "\nNRestarts=(.*)"), matchIn(shown, "\nResult=(.*)"), status,
                 status == ExitNoDisplay ? " (no display)" : "");
    const QByteArray said =
        outputOf("journalctl", {"-b", "-q", "-n1", "-ocat", "-tcorvanta"}).trimmed();
    page.ok("last message in the journal: " + QString::fromUtf8(said));
    if (state == "active")
        page.ok(text);
    else if (state == "failed")
        page.fail(text, "read journalctl -t corvanta, then run systemctl reset-failed corvanta and "
                        "systemctl start corvanta");
    else
        page.warn(text, "run systemctl start corvanta");
}

} // namespace doctor
