#include "io/processlist.h"

#include "io/linefile.h"

#include <QDir>
#include <QFileInfo>
#include <unistd.h>

namespace
{

constexpr auto Everything = QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot;

QByteArray contentOf(const QString &path)
{
    return linefile::read(path).bytes.trimmed();
}

/** @param file canonical path; empty if it does not exist */
bool hasOpen(const Process &process, const QString &file)
{
    const QDir descriptors(QString("/proc/%1/fd").arg(process.pid));
    for (const QString &descriptor : descriptors.entryList(Everything)) {
        if (!file.isEmpty() && QFile::symLinkTarget(descriptors.filePath(descriptor)) == file)
            return true;
    }
    return false;
}

} // namespace

QList<Process> allProcesses()
{
    QList<Process> found;
    for (const QString &name : QDir("/proc").entryList(QDir::Dirs)) {
        if (const qint64 pid = name.toLongLong(); pid > 0)
            found.append({pid, contentOf("/proc/" + name + "/comm")});
    }
    return found;
}

qint64 ageOf(const Process &process)
{
    // In proc(5), field 22 is the start in clock ticks after boot; field 2 may contain spaces.
    const QByteArray stat = contentOf(QString("/proc/%1/stat").arg(process.pid));
    const double ticks = stat.mid(stat.lastIndexOf(')') + 2).split(' ').value(19).toDouble();
    const double uptime = contentOf("/proc/uptime").split(' ').value(0).toDouble();
    return static_cast<qint64>(uptime - ticks / static_cast<double>(::sysconf(_SC_CLK_TCK)));
}

QList<Process> usersOf(const QString &path)
{
    QList<Process> users;
    const QString file = QFileInfo(path).canonicalFilePath();
    const qint64 locker = contentOf("/run/lock/LCK.." + QFileInfo(path).fileName()).toLongLong();
    for (const Process &process : allProcesses()) {
        if (process.pid != ::getpid() && (process.pid == locker || hasOpen(process, file)))
            users.append(process);
    }
    return users;
}
