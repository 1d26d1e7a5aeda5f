// The controller's probes: the modem's device node and signal strength, ping and HTTP.
#include "makeup.h"

#include "core/plaintext.h"
#include "core/signalreply.h"
#include "io/atport.h"
#include "io/servedwait.h"
#include "io/shellcommand.h"

#include <QDebug>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QProgressBar>
#include <QTextEdit>
#include <QUrl>
#include <chrono>

using namespace std::chrono_literals;

namespace
{

constexpr auto ReplyPollInterval = 10ms;
constexpr auto ReplyLimit = 3000ms;

/** Next paragraph of the box, never taken for markup. */
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
    return runShell(QStringLiteral("ls /dev | grep ttyUSB")).status;
}

int Makeup::signalPortError(const QString &text)
{
    signalValue->setText(text);
    return -1;
}

int Makeup::checkSignalStrength(int request)
{
    if (request != 1)
        return 0;
    if (const int status = checkTTYUSB(); status != 0)
        return status;
    AtPort port("/dev/ttyUSB0");
    if (!port.isOpen())
        return signalPortError(QStringLiteral("open ttyUSB0 error"));
    // One byte of a reset command, which starts none: the modem answers the query alone.
    if (!port.write("A"))
        return signalPortError(QStringLiteral("write ATZ error"));
    if (!port.write("AT+CSQ\r"))
        return signalPortError(QStringLiteral("write ttyUSB0 error"));

    QByteArray chunk;
    const bool wasVisible = parentWidget->isVisible();
    const WaitResult result = waitServed({
        [&port, &chunk] { return !(chunk = port.readChunk()).isEmpty(); },
        [this, wasVisible] { return wasVisible && !parentWidget->isVisible(); },
        ReplyPollInterval,
        ReplyLimit,
    });
    if (result == WaitResult::Abandoned)
        return -1;
    if (result == WaitResult::TimedOut)
        return signalPortError(QStringLiteral("read ttyUSB0 error"));

    const SignalReply reply = parseSignalReply(chunk);
    signalValue->setText(reply.noSignal ? tr("No Signal") : reply.text);
    signalBar->setValue(reply.noSignal ? 0 : reply.percent);
    return port.close();
}

void Makeup::pinResponse()
{
    const ShellResult ping = runShell(QStringLiteral("ping -c 3 " CORVANTA_PING_TARGET));
    appendPlain(pingOutput, QStringLiteral("oo"));
    appendPlain(pingOutput, plainText(ping.output));
    appendPlain(pingOutput, plainText(ping.errors));
}

void Makeup::httpGet()
{
    QNetworkRequest request(QUrl(QStringLiteral(CORVANTA_PROBE_URL)));
    // The first answer is the outcome: a redirection is not followed.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    auto *manager = new QNetworkAccessManager;
    manager->get(request);
    connect(manager, &QNetworkAccessManager::finished, this, &Makeup::managerFinished);
}

void Makeup::managerFinished(QNetworkReply *reply)
{
    if (reply->error() == QNetworkReply::NoError)
        qDebug() << plainText(reply->readAll());
    else
        qDebug() << reply->errorString();
    reply->manager()->deleteLater(); // The reply is its child.
}
