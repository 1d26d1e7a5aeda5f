// Any bytes on the simulated modem's line: each command line is answered.
#include "tests/fuzz/fuzz.h"
#include "simulator/programs/modem/atline.h"
#include "simulator/programs/modem/modem.h"

namespace
{

constexpr size_t MaxReply = size_t(1) << 20;

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    modem::Modem modem;
    modem::LineAssembler assembler;
    for (size_t at = 0; at < size; ++at) {
        assembler.setControls(modem.terminator(), modem.backspace());
        const auto line = assembler.feed(static_cast<char>(data[at]));
        if (!line)
            continue;
        require(line->size() <= modem::LineAssembler::MaxLength, "the line is bounded");
        const modem::Reply reply = modem.execute(*line);
        require(reply.bytes.size() < MaxReply, "the reply is bounded");
    }
    return 0;
}
