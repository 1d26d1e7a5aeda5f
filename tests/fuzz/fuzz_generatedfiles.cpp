// Any bytes as a parameter file: the chat script and the peer file made from it have their lines,
// with the values in their places and nowhere else.
#include "tests/fuzz/fuzz.h"
#include "core/chatscript.h"
#include "core/paramlist.h"
#include "core/peerfile.h"

using namespace paramlist;

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QStringList list = parseLines(bytesOf(data, size));
    const QStringList script = chatScriptLines(list);
    const bool pin = !dialUpEntry(list, Pin).isEmpty();
    require(script.size() == (pin ? 17 : 16), "the script's lines");
    require(script.last() == "'OK' '\"ATD" + dialUpEntry(list, DialNumber) + "\"'", "dial line");
    require(script[script.size() - 2] ==
                "'OK' 'AT+CGDCONT=1,\"IP\",\"" + dialUpEntry(list, Apn) + "\"'",
            "context line");
    require(script[11] == (pin ? "'' 'AT+CPIN=\"" + dialUpEntry(list, Pin) + "\"'" : "'' 'ATZ'"),
            "PIN line");

    const QStringList peer = peerFileLines(list, "192.0.2.1");
    const int method = authMethod(list);
    const bool protocol = method == 1 || method == 2;
    require(peer.size() == (protocol ? 15 : 14), "the peer file's lines");
    require(peer[3] == (method == 0 ? "noauth" : "auth"), "the method decides");
    require(peer[peer.size() - 5] == "user " + dialUpEntry(list, User), "the user");
    require(peer[peer.size() - 4] == "password " + dialUpEntry(list, Password), "the password");
    for (const QString &line : script + peer)
        require(!line.contains('\n') && !line.contains(QChar(0)), "no value ends its line");
    return 0;
}
