// Uses any bytes as a parameter file. A save must write one line per parameter, from which the same
// values are read again. In the chat script and the peer file each value must be in its own line
// only.
#include "core/chatscript.h"
#include "core/lineencoding.h"
#include "core/paramlist.h"
#include "core/peerfile.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

using namespace paramlist;

namespace
{

/** Abort when a condition is false; libFuzzer keeps the input. */
void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "condition is false: %s\n", what);
    std::abort();
}

void checkDialUp(const QStringList &list, const DialUpValues &values)
{
    const QByteArray content = lineencoding::encodeLines(dialUpLines(values));
    require(content.count('\n') == DialUpCount, "six lines are saved");
    const QStringList again = parseLines(content);
    require(again.size() == DialUpCount, "six lines are read");
    for (int index = Apn; index < AuthMethod; ++index)
        require(again[index] == list[index], "a text is kept");
    require(authMethod(again) == authMethod(list), "the method is kept");
    require(lineencoding::encodeLines(dialUpLines(*dialUpValues(again))) == content,
            "a second save changes nothing");
}

void checkAutoConnect(const QStringList &list, const AutoConnectValues &values)
{
    const QStringList again = parseLines(lineencoding::encodeLines(autoConnectLines(values)));
    require(again.size() == AutoConnectCount, "two lines are read");
    require(autoConnectValues(again)->choice == values.choice, "the choice is kept");
    require(again[Counts] == list[Counts], "Counts is kept");
}

void checkGeneratedFiles(const QStringList &list)
{
    const QStringList script = chatScriptLines(list);
    const QString pin = dialUpEntry(list, Pin);
    require(script.size() == (pin.isEmpty() ? 16 : 17), "number of lines of the script");
    require(script[11] == (pin.isEmpty() ? "'' 'ATZ'" : "'' 'AT+CPIN=\"" + pin + "\"'"), "PIN");
    require(script[script.size() - 2] ==
                "'OK' 'AT+CGDCONT=1,\"IP\",\"" + dialUpEntry(list, Apn) + "\"'",
            "APN");
    require(script.last() == "'OK' '\"ATD" + dialUpEntry(list, DialNumber) + "\"'", "number");

    const QStringList peer = peerFileLines(list, "192.0.2.1");
    const int method = authMethod(list);
    require(peer.size() == (method == Pap || method == Chap ? 15 : 14), "lines of the peer file");
    require(peer[3] == (method == Auto ? "noauth" : "auth"), "method");
    require(peer[peer.size() - 5] == "user " + dialUpEntry(list, User), "user");
    require(peer[peer.size() - 4] == "password " + dialUpEntry(list, Password), "password");
    for (const QString &line : script + peer)
        require(!line.contains('\n') && !line.contains(QChar(0)), "one line for each value");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QStringList list =
        parseLines(QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    if (const auto values = dialUpValues(list))
        checkDialUp(list, *values);
    if (const auto values = autoConnectValues(list))
        checkAutoConnect(list, *values);
    checkGeneratedFiles(list);
    return 0;
}
