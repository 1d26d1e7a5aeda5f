// The controller's probes: the modem's device node and signal strength, ping and HTTP.
#include "app/makeup.h"

#include "app/httpprobe.h"
#include "core/boardpaths.h"
#include "core/csqresponse.h"
#include "core/latin1.h"
#include "io/atport.h"
#include "io/boardcommands.h"
#include "io/eventwait.h"
#include "io/shellcommand.h"

#include <QDebug>
#include <QLabel>
#include <QPluginLoader>
#include <QProgressBar>
#include <QTextEdit>
#include <chrono>

using namespace std::chrono_literals;

namespace
{

constexpr auto ReplyPollInterval = 10ms;
constexpr auto ReplyTimeout = 3000ms;

/** Result of a signal-strength query. */
struct SignalQueryResult {
    int result = -1;             ///< return value of close(2); -1 when the exchange failed
    QByteArray chunk;            ///< the modem's response; empty when there is none
    const char *error = nullptr; ///< error message for the operator; null if there is none
};

/** Send AT+CSQ to the modem and wait for the response.
 *  @param cancelled returns true to cancel the wait */
SignalQueryResult querySignal(const std::function<bool()> &cancelled)
{
    AtPort port(boardpaths::ModemPort);
    if (!port.isOpen())
        return {-1, {}, "open ttyUSB0 error"};
    // A lone "A" does not start a command; the modem answers only the query.
    if (!port.write("A"))
        return {-1, {}, "write ATZ error"};
    if (!port.write("AT+CSQ\r"))
        return {-1, {}, "write ttyUSB0 error"};
    QByteArray chunk;
    const WaitResult waited = waitWithEvents({
        [&port, &chunk] { return !(chunk = port.readChunk()).isEmpty(); },
        cancelled,
        ReplyPollInterval,
        ReplyTimeout,
    });
    if (waited != WaitResult::Ready)
        return {-1, {}, waited == WaitResult::TimedOut ? "read ttyUSB0 error" : nullptr};
    return {port.close(), chunk, nullptr};
}

/** Load the HTTP probe plugin on the first call.
 *  @return null when it cannot be loaded; a debug message then gives the reason */
HttpProbe *httpProbe()
{
    static HttpProbe *const probe = [] {
        QPluginLoader loader(QStringLiteral("corvanta/corvantahttpprobe"));
        auto *module = qobject_cast<HttpProbe *>(loader.instance());
        if (module == nullptr)
            qDebug("No HTTP probe: %s", qPrintable(loader.errorString()));
        return module;
    }();
    return probe;
}

/** Append a paragraph as plain text, even if it looks like rich text. */
void appendPlain(QTextEdit *box, const QString &text)
{
    QTextCursor cursor(box->document());
    cursor.movePosition(QTextCursor::End);
    if (!box->document()->isEmpty())
        cursor.insertBlock();
    cursor.insertText(text);
}

} // namespace

int Makeup::checkTTYUSB()
{
    return boardcommands::findModemNode();
}

bool Makeup::hasModemNode()
{
    return checkTTYUSB() == 0;
}

int Makeup::checkSignalStrength(int request)
{
    if (request != 1)
        return 0;
    if (const int status = checkTTYUSB(); status != 0)
        return status;
    const bool wasVisible = parentWidget->isVisible();
    const SignalQueryResult answer =
        querySignal([this, wasVisible] { return wasVisible && !parentWidget->isVisible(); });
    if (answer.error != nullptr)
        signalValue->setText(QString::fromLatin1(answer.error));
    else if (!answer.chunk.isEmpty())
        showSignal(parseCsqResponse(answer.chunk));
    return answer.result;
}

void Makeup::showSignal(const CsqResponse &reply)
{
    signalValue->setText(reply.noSignal ? tr("No Signal") : reply.text);
    signalBar->setValue(reply.noSignal ? 0 : reply.percent);
}

void Makeup::pinResponse()
{
    const ShellResult ping = boardcommands::ping();
    appendPlain(pingOutput, QStringLiteral("oo"));
    appendPlain(pingOutput, decodeLatin1(ping.standardOutput));
    appendPlain(pingOutput, decodeLatin1(ping.standardError));
}

void Makeup::httpGet()
{
    HttpProbe *probe = httpProbe();
    if (probe == nullptr)
        return;
    // String-based connection: QtNetwork, which defines the signal, is not linked.
    connect(probe->fetch(QStringLiteral(CORVANTA_PROBE_URL)), SIGNAL(finished(QNetworkReply *)),
            this, SLOT(managerFinished(QNetworkReply *)));
}

void Makeup::managerFinished(QNetworkReply *reply)
{
    HttpProbe *probe = httpProbe();
    if (probe == nullptr)
        return;
    const HttpProbe::Result result = probe->takeResult(reply);
    qDebug() << (result.error.isNull() ? decodeLatin1(result.body) : result.error);
}
