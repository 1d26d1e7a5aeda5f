// corvanta-doctor: prints the most probable cause of a missing link.
#include "app/doctor/checks.h"
#include "io/processsetup.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace
{

int fail(const QString &text)
{
    std::fprintf(stderr, "corvanta-doctor: %s\n", qPrintable(text));
    return 2;
}

/** Write to standard output, which is non-blocking.
 *  @return false when write(2) fails, or a pipe or terminal has accepted nothing for 2 s */
bool print(const QByteArray &text)
{
    constexpr int StallMs = 2000;
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    for (qsizetype done = 0; done < text.size();) {
        const ssize_t count = ::write(output.fd, text.constData() + done, text.size() - done);
        if (count == -1 && (errno != EAGAIN || ::poll(&output, 1, StallMs) != 1))
            return false;
        done += std::max<ssize_t>(count, 0);
    }
    return true;
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
        "Exit status: 0 no failure, 1 failure, 2 wrong usage, not root or output not written.");
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
    const bool isPrinted = print(parser.isSet("json") ? page.json() : page.text());
    if (parser.isSet("bundle")) {
        if (const QString error = writeBundle(page, parser.value("bundle")); !error.isEmpty())
            return fail("could not write the archive: " + error);
    }
    return !isPrinted ? fail("could not print the output") : page.hasFailure() ? 1 : 0;
}
