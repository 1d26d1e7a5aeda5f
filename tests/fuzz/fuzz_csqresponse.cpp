// Any bytes as a modem's answer to the signal query: the figure fits what shows it.
#include "tests/fuzz/fuzz.h"
#include "core/csqresponse.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const CsqResponse reply = parseCsqResponse(bytesOf(data, size));
    require(reply.text.size() == static_cast<qsizetype>(size), "the answer is shown whole");
    require(reply.percent > -100 && reply.percent < 400, "two characters hold no more");
    require(!reply.noSignal || reply.percent == 0, "no signal is no figure");
    return 0;
}
