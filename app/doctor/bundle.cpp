#include "app/doctor/checks.h"
#include "core/boardpaths.h"
#include "core/paramlist.h"
#include "core/pppdwords.h"
#include "core/secretmask.h"
#include "io/linefile.h"
#include "io/shellcommand.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

namespace doctor
{

namespace
{

using namespace boardpaths;

constexpr std::chrono::seconds ProgramTimeout{10};
constexpr const char *Logs[][2] = {
    {"kernel", "dmesg | grep -i usb"},
    {"journal", "journalctl -b -q -r -n1000 _SYSTEMD_UNIT=corvanta.service + UNIT=corvanta.service"
                " + SYSLOG_IDENTIFIER=pppd SYSLOG_IDENTIFIER=chat"
                " SYSLOG_IDENTIFIER=corvanta-pinguard"},
};

volatile std::sig_atomic_t isInterrupted = 0;

/** Return the stored secrets, each as stored and as pppd reads it. The peer file can have an
 * earlier user name and password: return these, too. */
QList<QByteArray> storedSecrets()
{
    QList<QByteArray> secrets;
    const QList<QByteArray> stored = linefile::read(ParameterFile).bytes.split('\n');
    for (const auto index : {paramlist::User, paramlist::Password, paramlist::Pin}) {
        const QByteArray value = stored.value(index).trimmed();
        secrets << value << splitPppdWords(value).words;
    }
    const auto options = splitPppdWords(linefile::read(PeerFile).bytes).words;
    for (const char *name : {"user", "password"}) {
        if (const qsizetype at = options.indexOf(name); at >= 0)
            secrets << options.value(at + 1);
    }
    return secrets;
}

/** @return true when all files were written to the directory */
bool collect(const Page &page, const QTemporaryDir &directory)
{
    const QList<QByteArray> secrets = storedSecrets();
    bool isWritten = directory.isValid();
    const auto save = [&](const QString &name, const QByteArray &content) {
        QFile copy(directory.filePath(name));
        const QByteArray masked = withoutSecrets(content, secrets);
        isWritten = isWritten && isInterrupted == 0 && copy.open(QFile::WriteOnly) &&
                    copy.write(masked) == masked.size() && copy.flush();
    };
    save("page.txt", page.text());
    for (const auto &[name, command] : Logs)
        save(name, runProgram("sh", {"-c", command}, ProgramTimeout).standardOutput);
    QStringList paths{PeerFile, ChatScript, "/etc/default/corvanta"};
    const QDir ppp("/etc/ppp");
    for (const QString &name : ppp.entryList({"*.log", "*.log.old", "options*"}, QDir::Files))
        paths.append(ppp.filePath(name));
    for (const QString &path : paths) {
        if (QFileInfo::exists(path))
            save(path.mid(1).replace(u'/', u'-'), linefile::readEnd(path).bytes);
    }
    return isWritten;
}

} // namespace

QString writeBundle(const Page &page, const QString &file)
{
    // A signal must leave neither the temporary directory nor half an archive.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        std::signal(signal, [](int) { isInterrupted = 1; });
    ::umask(S_IRWXG | S_IRWXO);
    QFile archive(file);
    if (!archive.open(QFile::WriteOnly | QFile::NewOnly))
        return archive.errorString();
    const QTemporaryDir directory("/run/corvanta-doctor.XXXXXX");
    // Not the path, which could be another file by now.
    const QString opened = QString("/proc/%1/fd/%2").arg(::getpid()).arg(archive.handle());
    const QStringList tar{"--force-local", "-czf", opened, "-C", directory.path(), "."};
    if (collect(page, directory) && runProgram("tar", tar, ProgramTimeout).status == 0 &&
        isInterrupted == 0)
        return {};
    archive.remove();
    return isInterrupted != 0 ? "interrupted"
                              : "its file system or /run is full, or tar has failed";
}

} // namespace doctor
