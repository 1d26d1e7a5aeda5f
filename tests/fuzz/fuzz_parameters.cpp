// Any bytes as a parameter file: what a save then writes is six lines, and read again they give the
// same values.
#include "tests/fuzz/fuzz.h"
#include "core/lineencoding.h"
#include "core/paramlist.h"

using namespace paramlist;

namespace
{

QByteArray saved(const QStringList &lines)
{
    QByteArray content;
    for (const QString &line : lines)
        content += lineencoding::encode(line) + '\n';
    return content;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QStringList list = parseLines(bytesOf(data, size));
    if (const auto values = dialUpValues(list)) {
        const QByteArray content = saved(dialUpLines(*values));
        require(content.count('\n') == DialUpCount, "six lines are saved");
        const QStringList again = parseLines(content);
        require(again.size() == DialUpCount, "six lines are read");
        for (int index = Apn; index < AuthMethod; ++index)
            require(again[index] == list[index], "a text is kept");
        require(authMethod(again) == authMethod(list), "the method is kept");
        require(saved(dialUpLines(*dialUpValues(again))) == content,
                "a second save changes nothing");
    }
    if (const auto values = autoConnectValues(list)) {
        const QStringList again = parseLines(saved(autoConnectLines(*values)));
        require(again.size() == AutoConnectCount, "two lines are read");
        require(autoConnectValues(again)->choice == values->choice, "the choice is kept");
        require(again[Counts] == list[Counts], "Counts is kept");
    }
    return 0;
}
