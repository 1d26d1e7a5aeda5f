// corvanta-doctor: prints the most probable cause of a missing link.
#include "app/doctor/checks.h"
#include "io/processsetup.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace
{

int fail(const char *text)
{
    std::fprintf(stderr, "corvanta-doctor: %s\n", text);
    return 2;
}

} // namespace

int main(int argc, char **argv)
{
    setUpProcess();
    ::setenv("LC_ALL", "C.UTF-8", 1); // locale of the programs that it runs
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(CORVANTA_VERSION);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Check the board, and print the most probable cause of a missing link in the last line.\n"
        "Nothing is changed.\n"
        "Exit status: 0 no failure, 1 failure, 2 wrong usage, not root or archive not written.");
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addOptions({{"json", "Print the page as JSON."},
                       {"reach", "Ping the target of the ping test."},
                       {"bundle", "Also write page, logs and files as tar.gz.", "FILE"}});
    const bool isValid = parser.parse(QCoreApplication::arguments());
    if (parser.isSet(help))
        parser.showHelp();
    if (parser.isSet(version))
        parser.showVersion();
    if (!isValid || !parser.positionalArguments().isEmpty())
        return fail("invalid arguments: see corvanta-doctor --help");
    if (::geteuid() != 0)
        return fail(std::strerror(EPERM));
    doctor::Page page;
    if (checkDongle(page))
        checkNetwork(page);
    checkBoard(page);
    checkParameters(page);
    checkLink(page, parser.isSet("reach"));
    checkScreen(page);
    checkService(page);
    std::fputs((parser.isSet("json") ? page.json() : page.text()).constData(), stdout);
    if (parser.isSet("bundle") && !writeBundle(page, parser.value("bundle")))
        return fail("could not write the bundle completely");
    return page.hasFailure() ? 1 : 0;
}
