#include "core/csqresponse.h"

namespace
{

constexpr qsizetype RssiIndex = 8;
constexpr qsizetype RssiLength = 2;
constexpr double MaxRssi = 31.0;

} // namespace

CsqResponse parseCsqResponse(const QByteArray &chunk)
{
    CsqResponse reply;
    reply.text = QString::fromLatin1(chunk);
    const QString rssi = reply.text.mid(RssiIndex, RssiLength);
    reply.noSignal = rssi == u"99";
    if (!reply.noSignal)
        reply.percent = static_cast<int>(rssi.toDouble() / MaxRssi * 100.0);
    return reply;
}
