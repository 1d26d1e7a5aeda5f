// pppfiles: writes the chat script and the peer file as the program does, from given values.
#include "core/chatscript.h"
#include "core/paramlist.h"
#include "core/peerfile.h"
#include "io/linefile.h"
#include "simulator/programs/common/commandline.h"

namespace
{

struct Options {
    std::string folder;
    std::string apn = "internet";
    std::string dial = "*99#";
    std::string user;
    std::string password;
    std::string pin;
    int method = 0;
};

common::CommandLine commandLine(Options &options)
{
    using common::anyText;
    return {"pppfiles",
            "Writes the files chat and ppp-connect as the program does.",
            {{"folder", anyText("FOLDER", options.folder), "where both files go"}},
            {{"apn", anyText("TEXT", options.apn), "APN (internet)"},
             {"dial", anyText("TEXT", options.dial), "dial number (*99#)"},
             {"user", anyText("TEXT", options.user), "user name (empty)"},
             {"password", anyText("TEXT", options.password), "password (empty)"},
             {"pin", anyText("TEXT", options.pin), "PIN of the SIM (empty)"},
             {"method", common::number<int>("N", 0, 9, options.method),
              "authentication method (0): 0 AUTO, 1 PAP, 2 CHAP"}}};
}

/** @return the dial-up list as it is after the screen has been stored */
QStringList dialUpList(const Options &options)
{
    paramlist::DialUpValues values;
    values.apn = QString::fromStdString(options.apn);
    values.dialNumber = QString::fromStdString(options.dial);
    values.user = QString::fromStdString(options.user);
    values.password = QString::fromStdString(options.password);
    values.pin = QString::fromStdString(options.pin);
    values.authMethod = options.method;
    return paramlist::dialUpLines(values);
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    if (const auto status = common::readCommandLine(commandLine(options), argc, argv))
        return *status;
    const QStringList list = dialUpList(options);
    const QString folder = QString::fromStdString(options.folder) + '/';
    const bool written = linefile::write(folder + "chat", chatScriptLines(list)) &&
                         linefile::write(folder + "ppp-connect",
                                         peerFileLines(list, QStringLiteral(CORVANTA_DNS_ADDRESS)));
    return written ? 0 : 1;
}
