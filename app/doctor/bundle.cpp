#include "app/doctor/bundle.h"

#include "core/boardpaths.h"
#include "core/lineencoding.h"
#include "core/pppdwords.h"
#include "core/secretmask.h"
#include "io/linefile.h"
#include "io/shellcommand.h"
#include "io/storedvalues.h"

#include <QDir>
#include <QTemporaryDir>
#include <sys/stat.h>

namespace doctor
{

namespace
{

using namespace std::chrono_literals;

constexpr auto ProgramTimeout = 10s;

/** Return the secrets of the parameters and of the generated files, which may be earlier ones. */
QList<QByteArray> storedSecrets()
{
    QList<QByteArray> secrets;
    const QList<QByteArray> lines = linefile::read(boardpaths::ParameterFile).bytes.split('\n');
    const auto dialUp = paramlist::parseLines(lines.join('\n'));
    for (const auto index : {paramlist::User, paramlist::Password, paramlist::Pin}) {
        const QByteArray value = lineencoding::encode(dialUp.value(index));
        secrets << value << splitPppdWords(value).words.value(0) << lines.value(index).trimmed();
    }
    // A service code such as *99# is no phone number.
    if (const QString number = dialUp.value(paramlist::DialNumber); !number.startsWith(u'*'))
        secrets << lineencoding::encode(number);
    const QList<QByteArray> options =
        splitPppdWords(linefile::read(boardpaths::PeerFile).bytes).words;
    for (const char *name : {"user", "password"}) {
        if (const qsizetype at = options.indexOf(name); at >= 0)
            secrets << options.value(at + 1);
    }
    return secrets;
}

/** @return false when the file could not be written */
bool save(const QString &path, const QByteArray &content, const QList<QByteArray> &secrets)
{
    QFile file(path);
    const QByteArray masked = withoutSecrets(content, secrets);
    return file.open(QFile::WriteOnly) && file.write(masked) == masked.size() && file.flush();
}

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    return runProgram(program, arguments, ProgramTimeout).standardOutput;
}

QByteArray kernelLines()
{
    QByteArray kept;
    for (const QByteArray &line : outputOf("dmesg", {}).split('\n')) {
        const QByteArray text = line.toLower();
        if (text.contains("usb") || text.contains("ppp") || text.contains("option"))
            kept += line + '\n';
    }
    return kept;
}

} // namespace

bool writeBundle(const Page &page, const QString &file)
{
    ::umask(S_IRWXG | S_IRWXO);
    const QTemporaryDir directory("/run/corvanta-doctor.XXXXXX");
    const QList<QByteArray> secrets = storedSecrets();
    const QByteArray journal =
        outputOf("journalctl", {"-b", "-q", "-r", "-n1000", "_SYSTEMD_UNIT=corvanta.service", "+",
                                "UNIT=corvanta.service", "+", "SYSLOG_IDENTIFIER=pppd",
                                "SYSLOG_IDENTIFIER=chat", "SYSLOG_IDENTIFIER=corvanta-pinguard"});
    bool written = directory.isValid() &&
                   save(directory.filePath("page.txt"), page.text(), secrets) &&
                   save(directory.filePath("page.json"), page.json(), secrets) &&
                   save(directory.filePath("journal"), journal, secrets) &&
                   save(directory.filePath("kernel"), kernelLines(), secrets);
    for (const QString path :
         {boardpaths::PeerFile, boardpaths::ChatScript, boardpaths::PppLog, boardpaths::ChatLog,
          "/etc/ppp/ppp.log.old", "/etc/ppp/chat.log.old", "/etc/ppp/options",
          "/etc/ppp/options.ttyUSB0", "/etc/default/corvanta"}) {
        const linefile::ReadResult content = linefile::readEnd(path);
        if (content.state == linefile::ReadResult::Complete)
            written = written && save(directory.filePath(path.mid(1).replace(u'/', u'-')),
                                      content.bytes, secrets);
    }
    return written && runProgram("tar",
                                 {"--force-local", "-czf", QDir::current().absoluteFilePath(file),
                                  "-C", directory.path(), "."},
                                 ProgramTimeout)
                              .status == 0;
}

} // namespace doctor
