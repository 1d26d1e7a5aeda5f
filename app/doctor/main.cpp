// corvanta-doctor: says on one page why there is no link.
#include "app/doctor/bundle.h"
#include "app/doctor/checks.h"
#include "io/processsetup.h"

#include <QCoreApplication>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace
{

constexpr int CouldNotLook = 2;

constexpr char Usage[] =
    "Usage: corvanta-doctor [--json] [--reach] [--bundle FILE]\n"
    "Print why there is no link, most probable cause in the last line. Nothing is changed.\n\n"
    "  --json         print the page as JSON\n"
    "  --reach        ping the target of the ping test\n"
    "  --bundle FILE  write page, logs and files as tar.gz, secrets masked\n"
    "  -h, --help     print this help\n"
    "  --version      print the version\n\n"
    "Exit status: 0 no failure, 1 failure, 2 could not look\n";

int fail(const char *text)
{
    std::fprintf(stderr, "corvanta-doctor: %s\n", text);
    return CouldNotLook;
}

/** @return the page of all groups */
doctor::Page look(bool reach)
{
    doctor::Page page;
    checkBoard(page);
    checkScreen(page);
    checkService(page);
    if (checkDongle(page))
        checkNetwork(page);
    checkParameters(page);
    checkLink(page, reach);
    return page;
}

} // namespace

int main(int argc, char **argv)
{
    setUpProcess();
    bool json = false;
    bool reach = false;
    const char *bundle = nullptr;
    for (int i = 1; i < argc; ++i) {
        const QByteArray word(argv[i]);
        if (word == "-h" || word == "--help")
            return std::puts(Usage), 0;
        if (word == "--version")
            return std::puts("corvanta-doctor " CORVANTA_VERSION), 0;
        json = json || word == "--json";
        reach = reach || word == "--reach";
        if (word == "--bundle" && i + 1 < argc)
            bundle = argv[++i];
        else if (word != "--json" && word != "--reach")
            return fail("invalid arguments: see corvanta-doctor --help");
    }
    if (::geteuid() != 0)
        return fail(std::strerror(EPERM));
    ::setenv("LC_ALL", "C.UTF-8", 1); // of the programs that it runs
    const QCoreApplication application(argc, argv);
    const doctor::Page page = look(reach);
    std::fputs((json ? page.json() : page.text()).constData(), stdout);
    if (bundle != nullptr && !writeBundle(page, bundle))
        return fail("could not write the bundle completely");
    return page.hasFailure() ? 1 : 0;
}
