// corvanta-provision: sets, shows and checks the parameters without a panel.
#include "app/provision/settings.h"
#include "core/boardpaths.h"
#include "core/dialcheck.h"
#include "io/linefile.h"
#include "io/parameterlock.h"
#include "io/processsetup.h"
#include "io/singleinstance.h"
#include "io/storedvalues.h"

#include <QFile>
#include <QLoggingCategory>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <sysexits.h>
#include <unistd.h>

namespace
{

using namespace std::chrono_literals;
using paramlist::ScreenValues;

constexpr auto LockTimeout = 3000ms;
constexpr int WillNotDial = 1;

constexpr char Usage[] =
    "Usage: corvanta-provision [--as-is] NAME=VALUE... [-]\n"
    "       corvanta-provision --show | --check\n"
    "Set the panel's parameters and write the chat script and the peer file from all of them.\n"
    "A parameter that is not named keeps its value.\n\n"
    "  -                   read further NAME=VALUE lines from standard input; use it for secrets,\n"
    "                      because every user of the board can see arguments. Empty lines and\n"
    "                      lines that start with # are skipped\n"
    "  --as-is             accept user names and passwords that pppd reads as several words\n"
    "  --show              print the stored parameters, secrets as stars\n"
    "  --check             print how pppd and chat interpret them; status 1: they will not dial\n"
    "  -h, --help          print this help\n"
    "  --version           print the version\n\n";

/** A setting from the command line or from standard input. */
struct Setting {
    QByteArray text; ///< NAME=VALUE
    QString place;   ///< argument or line number, for messages
};

int fail(int status, const QString &text)
{
    std::fprintf(stderr, "corvanta-provision: %s\n", qPrintable(text));
    return status;
}

int failUnchanged(int status, const QString &text)
{
    return fail(status, text + QStringLiteral("; no file was changed"));
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

/** @return an exit status */
int load(ScreenValues &values)
{
    const QString error = storedvalues::load(values);
    return error.isEmpty() ? EX_OK : failUnchanged(EX_IOERR, error);
}

/** @return an exit status */
int write(const ScreenValues &values)
{
    QStringList written;
    for (const auto &file :
         storedvalues::parameterFiles(values) + storedvalues::generatedFiles(values)) {
        const QString path = QLatin1String(file.path);
        if (!linefile::write(path, file.lines)) {
            const QString others =
                written.isEmpty() ? QStringLiteral("nothing") : written.join(QStringLiteral(", "));
            return fail(
                EX_IOERR,
                QStringLiteral("could not write %1; already written: %2").arg(path, others));
        }
        std::printf("wrote %s\n", file.path);
        written.append(path);
    }
    return EX_OK;
}

/** Change the stored values and write all files. @return an exit status */
int store(const QList<Setting> &list, bool asIs)
{
    ScreenValues values;
    if (const int status = load(values); status != EX_OK)
        return status;
    for (const Setting &setting : list) {
        const QString error = settings::apply(setting.text, asIs, values);
        if (!error.isEmpty())
            return failUnchanged(EX_USAGE, setting.place + QStringLiteral(": ") + error);
    }
    QLoggingCategory::setFilterRules(QStringLiteral("corvanta.files.warning=true"));
    const int status = write(values);
    if (status == EX_OK && isInstanceRunning())
        std::puts(
            "The panel is running with the old values and would save them on Exit. Restart it: "
            "systemctl restart corvanta");
    return status;
}

/** Print which of the files that pppd and chat read differ from the parameters. */
void printAgreement(const ScreenValues &values)
{
    for (const auto &file : storedvalues::generatedFiles(values)) {
        const storedvalues::Agreement found = storedvalues::compare(file);
        std::printf("%s %s\n", file.path,
                    found == storedvalues::Agreement::Agrees    ? "agrees with the parameters"
                    : found == storedvalues::Agreement::Missing ? "does not exist"
                                                                : "differs from the parameters");
    }
}

/** @return an exit status */
int show()
{
    ScreenValues values;
    if (const int status = load(values); status != EX_OK)
        return status;
    std::printf("%s", qPrintable(settings::listed(values)));
    printAgreement(values);
    return EX_OK;
}

/** @return an exit status */
int check()
{
    ScreenValues values;
    if (const int status = load(values); status != EX_OK)
        return status;
    const auto findings = dialcheck::check(values.dialUp, storedvalues::networkSecrets());
    for (const dialcheck::Finding &finding : findings)
        std::printf("%s.\n", qPrintable(finding.text));
    const bool dials = std::all_of(findings.begin(), findings.end(),
                                   [](const dialcheck::Finding &finding) { return finding.dials; });
    std::puts(dials ? "pppd and chat dial with these values." : "These values will not dial.");
    return dials ? EX_OK : WillNotDial;
}

/** Run the command given on the command line while holding the parameter lock. @return an exit
 *  status */
int run(int argc, char **argv)
{
    const ParameterLock lock(LockTimeout);
    if (!lock.isHeld())
        return failUnchanged(EX_TEMPFAIL, QStringLiteral("could not lock the parameters"));
    const QByteArray first(argv[1]);
    if (argc == 2 && first == "--show")
        return show();
    if (argc == 2 && first == "--check")
        return check();
    QList<Setting> list;
    for (int i = first == "--as-is" ? 2 : 1; i < argc; ++i) {
        const QByteArray word(argv[i]);
        const QList<Setting> further =
            word == "-" ? readInput()
                        : QList<Setting>{{word, QStringLiteral("argument %1").arg(i)}};
        if (further.isEmpty())
            return failUnchanged(EX_NOINPUT,
                                 QStringLiteral("standard input is empty or cannot be read"));
        list.append(further);
    }
    return store(list, first == "--as-is");
}

int printUsage(FILE *stream, int status)
{
    std::fprintf(stream, "%s%s", Usage, qPrintable(settings::help()));
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    setUpProcess();
    const QByteArray first(argc > 1 ? argv[1] : "");
    if (first.isEmpty() || (argc == 2 && first == "--as-is"))
        return printUsage(stderr, EX_USAGE);
    if (first == "-h" || first == "--help")
        return printUsage(stdout, EX_OK);
    if (first == "--version") {
        std::puts("corvanta-provision " CORVANTA_VERSION);
        return EX_OK;
    }
    if (::geteuid() != 0)
        return fail(EX_NOPERM, QString::fromLocal8Bit(std::strerror(EPERM)) +
                                   QStringLiteral(": only root may read and set the parameters"));
    return run(argc, argv);
}
