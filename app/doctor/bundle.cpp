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
#include <sys/stat.h>

namespace doctor
{

namespace
{

using namespace boardpaths;

constexpr std::chrono::seconds ProgramTimeout{10};
constexpr const char *Files[] = {PeerFile,
                                 ChatScript,
                                 PppLog,
                                 ChatLog,
                                 "/etc/ppp/ppp.log.old",
                                 "/etc/ppp/chat.log.old",
                                 "/etc/ppp/options",
                                 "/etc/ppp/options.ttyUSB0",
                                 "/etc/default/corvanta"};
constexpr const char *Logs[][2] = {
    {"kernel", "dmesg | grep -i usb"},
    {"journal", "journalctl -b -q -r -n1000 _SYSTEMD_UNIT=corvanta.service + UNIT=corvanta.service"
                " + SYSLOG_IDENTIFIER=pppd SYSLOG_IDENTIFIER=chat"
                " SYSLOG_IDENTIFIER=corvanta-pinguard"},
};

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

} // namespace

bool writeBundle(const Page &page, const QString &file)
{
    ::umask(S_IRWXG | S_IRWXO);
    const QTemporaryDir directory("/run/corvanta-doctor.XXXXXX");
    const QList<QByteArray> secrets = storedSecrets();
    bool written = directory.isValid();
    const auto save = [&](const QString &name, const QByteArray &content) {
        QFile copy(directory.filePath(name));
        const QByteArray masked = withoutSecrets(content, secrets);
        written = written && copy.open(QFile::WriteOnly) && copy.write(masked) == masked.size() &&
                  copy.flush();
    };
    save("page.txt", page.text());
    save("page.json", page.json());
    for (const auto &[name, command] : Logs)
        save(name, runProgram("sh", {"-c", command}, ProgramTimeout).standardOutput);
    for (const QString path : Files) {
        if (QFile::exists(path))
            save(path.mid(1).replace(u'/', u'-'), linefile::readEnd(path).bytes);
    }
    const QString archive = QDir::current().absoluteFilePath(file);
    if (QFileInfo(archive).isFile())
        QFile::remove(archive); // tar would keep its mode, which may let other users read it.
    const QStringList tar{"--force-local", "-czf", archive, "-C", directory.path(), "."};
    return written && runProgram("tar", tar, ProgramTimeout).status == 0;
}

} // namespace doctor
