// corvanta-provision: sets the parameters without a panel, in the files that the panel writes.
#include "core/boardpaths.h"
#include "core/chatscript.h"
#include "core/paramlist.h"
#include "core/peerfile.h"
#include "io/linefile.h"
#include "io/onlycopy.h"
#include "provision/settings.h"

#include <QFile>
#include <QLoggingCategory>
#include <cstdio>
#include <sysexits.h>

namespace
{

constexpr char Usage[] =
    "Usage: corvanta-provision NAME=VALUE... [-]\n"
    "Sets the panel's parameters and writes the chat script and the peer file from all of them.\n"
    "A parameter that is not named keeps its value. - reads further lines NAME=VALUE from\n"
    "standard input: arguments can be seen by every user of the machine.\n\n";

int refuse(const QString &text)
{
    std::fprintf(stderr, "corvanta-provision: %s\n", qPrintable(text));
    return EX_USAGE;
}

/** The arguments, and for "-" the lines of standard input in its place. */
QByteArrayList settingsOf(int argc, char **argv)
{
    QByteArrayList found;
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "-") != 0) {
            found.append(argv[i]);
            continue;
        }
        QFile input;
        if (!input.open(stdin, QFile::ReadOnly))
            continue;
        QByteArrayList lines = input.readAll().split('\n');
        if (lines.last().isEmpty())
            lines.removeLast();
        found.append(lines);
    }
    return found;
}

/** One list of a parameter file, or its defaults without such a file. @return whether it is known
 */
bool load(const char *path, const QStringList &defaults, QStringList &list)
{
    const linefile::Content content = linefile::read(path);
    if (content.state == linefile::Content::Unreadable) {
        std::fprintf(stderr, "could not read %s; nothing is changed\n", path);
        return false;
    }
    list =
        content.state == linefile::Content::Whole ? paramlist::parse(content.bytes) : QStringList();
    // Lines that are missing count as all missing, as on the panel.
    if (list.size() < defaults.size())
        list = defaults;
    return true;
}

/** Writes one of the files. @return whether it is on storage */
bool write(const char *path, const QStringList &lines)
{
    const bool written = linefile::write(path, lines);
    std::fprintf(written ? stdout : stderr, written ? "wrote %s\n" : "could not write %s\n", path);
    return written;
}

/** In the order in which the panel writes them before it dials. */
bool writeAll(const paramlist::ScreenValues &values)
{
    const QStringList dialUp = paramlist::dialUpLines(values.dialUp);
    return write(boardpaths::ParameterFile, dialUp) &&
           write(boardpaths::AutoConnectFile, paramlist::autoConnectLines(values.autoConnect)) &&
           write(boardpaths::PeerFile,
                 peerFileLines(dialUp, QStringLiteral(CORVANTA_DNS_ADDRESS))) &&
           write(boardpaths::ChatScript, chatScriptLines(dialUp));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2 || qstrcmp(argv[1], "--help") == 0) {
        std::fprintf(argc < 2 ? stderr : stdout, "%s%s", Usage, qPrintable(settings::help()));
        return argc < 2 ? EX_USAGE : EX_OK;
    }
    QStringList dialUp;
    QStringList autoConnect;
    if (!load(boardpaths::ParameterFile, paramlist::dialUpDefaults(), dialUp) ||
        !load(boardpaths::AutoConnectFile, paramlist::autoConnectDefaults(), autoConnect))
        return EX_IOERR;
    paramlist::ScreenValues values{*paramlist::dialUpValues(dialUp),
                                   *paramlist::autoConnectValues(autoConnect)};
    for (const QByteArray &setting : settingsOf(argc, argv)) {
        if (const QString wrong = settings::apply(setting, values); !wrong.isEmpty())
            return refuse(wrong + QStringLiteral("; nothing is changed"));
    }
    QLoggingCategory::setFilterRules(QStringLiteral("corvanta.files.warning=true"));
    if (!writeAll(values))
        return EX_IOERR;
    if (isCopyRunning())
        std::puts("The panel runs and still has the earlier values, which its Exit would store "
                  "again: restart it.");
    return EX_OK;
}
