#include "core/signalreply.h"

namespace
{

constexpr qsizetype FigureIndex = 8;
constexpr qsizetype FigureLength = 2;
constexpr double TopOfRssiScale = 31.0;

} // namespace

SignalReply parseSignalReply(const QByteArray &chunk)
{
    SignalReply reply;
    reply.text = QString::fromLatin1(chunk);
    const QString figure = reply.text.mid(FigureIndex, FigureLength);
    reply.noSignal = figure == u"99";
    if (!reply.noSignal)
        reply.percent = static_cast<int>(figure.toDouble() / TopOfRssiScale * 100.0);
    return reply;
}
