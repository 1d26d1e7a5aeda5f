// corvanta-provision: sets the parameters without a panel, in the files that the panel writes.
#include "core/boardpaths.h"
#include "core/chatscript.h"
#include "core/paramlist.h"
#include "core/peerfile.h"
#include "io/linefile.h"
#include "io/onlycopy.h"
#include "io/ownground.h"
#include "io/parameterlock.h"
#include "provision/settings.h"

#include <QFile>
#include <QLoggingCategory>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <sysexits.h>
#include <unistd.h>

namespace
{

using namespace std::chrono_literals;

constexpr auto LockPatience = 3000ms;
constexpr int AuthMethods = 3; // rows of the panel's list

constexpr char Usage[] =
    "Usage: corvanta-provision [--as-is] NAME=VALUE... [-]\n"
    "Sets the panel's parameters and writes the chat script and the peer file from all of them.\n"
    "A parameter that is not named keeps its value. - reads further lines NAME=VALUE from\n"
    "standard input: arguments can be seen by every user of the machine. Empty lines and lines\n"
    "that begin with # are skipped.\n\n"
    "  --as-is             take user names and passwords that pppd reads as several options\n"
    "  -h, --help          print this help\n"
    "  --version           print the version\n\n";

/** A NAME=VALUE, and where it was given. */
struct Setting {
    QByteArray text;
    QString place;
};

int fail(int status, const QString &text)
{
    std::fprintf(stderr, "corvanta-provision: %s\n", qPrintable(text));
    return status;
}

/** @return the lines of standard input; nothing when it cannot be read or has none */
QList<Setting> readInput()
{
    QList<Setting> found;
    QFile input;
    if (!input.open(stdin, QFile::ReadOnly))
        return found;
    const QByteArray content = input.readAll();
    if (input.error() != QFile::NoError)
        return found;
    int number = 0;
    for (const QByteArray &line : content.split('\n')) {
        ++number;
        if (!line.isEmpty() && !line.startsWith('#'))
            found.append({line, QStringLiteral("line %1").arg(number)});
    }
    return found;
}

/** One list of a parameter file, or its defaults without such a file; a list that is too short gets
 *  its further values from the others. @return whether it is known */
bool load(const char *path, const QStringList &defaults, const QStringList &further,
          QStringList &list)
{
    const linefile::Content content = linefile::read(path);
    if (content.state == linefile::Content::Unreadable)
        return false;
    list = content.state == linefile::Content::Whole ? paramlist::parse(content.bytes) : defaults;
    list.append(further.mid(list.size()));
    return true;
}

/** The values that the panel would store, as far as it has them. @return an exit status */
int loadValues(paramlist::ScreenValues &values)
{
    QStringList dialUp;
    QStringList autoConnect;
    const QStringList dialUpDefaults = paramlist::dialUpDefaults();
    if (!load(boardpaths::ParameterFile, dialUpDefaults, dialUpDefaults, dialUp))
        return fail(EX_IOERR, QStringLiteral("could not read %1; nothing is changed")
                                  .arg(QLatin1String(boardpaths::ParameterFile)));
    // Of a file that is too short the panel selects neither choice, which is NO, and no Counts.
    if (!load(boardpaths::AutoConnectFile, paramlist::autoConnectDefaults(),
              {QStringLiteral("1"), QString()}, autoConnect))
        return fail(EX_IOERR, QStringLiteral("could not read %1; nothing is changed")
                                  .arg(QLatin1String(boardpaths::AutoConnectFile)));
    values = {*paramlist::dialUpValues(dialUp), *paramlist::autoConnectValues(autoConnect)};
    int &method = values.dialUp.authMethod;
    if (method < 0 || method >= AuthMethods)
        method = -1; // as the panel's list, which has no row for it
    return EX_OK;
}

/** Writes one of the files, and tells which others are written already when it cannot. @return
 *  whether it is on storage */
bool write(const char *path, const QStringList &lines, QStringList &written)
{
    if (linefile::write(path, lines)) {
        std::printf("wrote %s\n", path);
        written.append(QLatin1String(path));
        return true;
    }
    const QString others =
        written.isEmpty() ? QStringLiteral("nothing") : written.join(QStringLiteral(", "));
    fail(
        EX_IOERR,
        QStringLiteral("could not write %1; already written: %2").arg(QLatin1String(path), others));
    return false;
}

/** In the order in which the panel writes them before it dials. */
bool writeAll(const paramlist::ScreenValues &values)
{
    const QStringList dialUp = paramlist::dialUpLines(values.dialUp);
    QStringList written;
    return write(boardpaths::ParameterFile, dialUp, written) &&
           write(boardpaths::AutoConnectFile, paramlist::autoConnectLines(values.autoConnect),
                 written) &&
           write(boardpaths::PeerFile, peerFileLines(dialUp, QStringLiteral(CORVANTA_DNS_ADDRESS)),
                 written) &&
           write(boardpaths::ChatScript, chatScriptLines(dialUp), written);
}

/** What the command line asks for. */
struct CommandLine {
    bool asIs = false;
    bool inputIsEmpty = false; ///< also when it could not be read
    QList<Setting> settings;
};

CommandLine parse(int argc, char **argv)
{
    CommandLine line;
    for (int i = 1; i < argc; ++i) {
        const QByteArray word(argv[i]);
        if (word == "--as-is") {
            line.asIs = true;
        } else if (word == "-") {
            const QList<Setting> input = readInput();
            line.inputIsEmpty = line.inputIsEmpty || input.isEmpty();
            line.settings.append(input);
        } else {
            line.settings.append({word, QStringLiteral("argument %1").arg(i)});
        }
    }
    return line;
}

/** Changes the stored values and writes all files. @return an exit status */
int store(const CommandLine &line)
{
    const ParameterLock lock(LockPatience);
    if (!lock.isHeld())
        return fail(EX_TEMPFAIL, QStringLiteral("the parameters are locked by another program; "
                                                "nothing is changed, try again"));
    paramlist::ScreenValues values;
    if (const int status = loadValues(values); status != EX_OK)
        return status;
    for (const Setting &setting : line.settings) {
        const QString wrong = settings::apply(setting.text, line.asIs, values);
        if (!wrong.isEmpty())
            return fail(EX_USAGE,
                        QStringLiteral("%1: %2; nothing is changed").arg(setting.place, wrong));
    }
    QLoggingCategory::setFilterRules(QStringLiteral("corvanta.files.warning=true"));
    return writeAll(values) ? EX_OK : EX_IOERR;
}

int printUsage(FILE *stream, int status)
{
    std::fprintf(stream, "%s%s", Usage, qPrintable(settings::help()));
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    makeOwnGround();
    const QByteArray first(argc > 1 ? argv[1] : "");
    if (first.isEmpty())
        return printUsage(stderr, EX_USAGE);
    if (first == "-h" || first == "--help")
        return printUsage(stdout, EX_OK);
    if (first == "--version") {
        std::puts("corvanta-provision " CORVANTA_VERSION);
        return EX_OK;
    }
    if (::geteuid() != 0)
        return fail(EX_NOPERM, QString::fromLocal8Bit(std::strerror(EPERM)) +
                                   QStringLiteral(": only root may set the parameters"));
    const CommandLine line = parse(argc, argv);
    if (line.inputIsEmpty)
        return fail(EX_NOINPUT, QStringLiteral("standard input is empty or cannot be read; "
                                               "nothing is changed"));
    const int status = store(line);
    if (status == EX_OK && isCopyRunning())
        std::puts("The panel runs and still has the earlier values, which its Exit would store "
                  "again: restart it.");
    return status;
}
