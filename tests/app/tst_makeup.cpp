// Parts that the end-to-end tests cannot reach: the signal handler, the HTTP probe, and the dialog
// that waits for 3g.sh.
#include "app/makeup.h"
#include "usb/detectmsg.h"

#include <QNetworkProxy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>
#include <QtWidgets>
#include <cerrno>
#include <csignal>
#include <unistd.h>

class MakeupTest : public QObject
{
    Q_OBJECT

private slots:
    void signalHandlerKeepsErrno();
    void httpProbe();
    void dialogWaitsForTheScript();
};

void MakeupTest::signalHandlerKeepsErrno()
{
    QWidget window;
    Makeup::getInstance(&window);
    char byte = 0;
    while (::write(Makeup::sigUsrFd[0], &byte, 1) == 1) { // until the socket is full
    }
    QCOMPARE(errno, EAGAIN);
    errno = EINTR;
    std::raise(SIGUSR1);
    QCOMPARE(errno, EINTR);
    while (::read(Makeup::sigUsrFd[1], &byte, 1) == 1) {
    }
}

static QStringList logged;

void MakeupTest::httpProbe()
{
    // A zero byte ends the line. A redirection is not followed.
    const QByteArray reply("HTTP/1.0 302 Found\r\nLocation: http://www.example.com/x\r\n\r\n"
                           "\"ab\"\0cd",
                           65);
    int requests = 0;
    QTcpServer proxy;
    QVERIFY(proxy.listen(QHostAddress::LocalHost));
    connect(&proxy, &QTcpServer::newConnection, this, [&] {
        ++requests;
        QTcpSocket *peer = proxy.nextPendingConnection();
        connect(peer, &QTcpSocket::readyRead, peer, [peer, reply] {
            peer->write(reply);
            peer->disconnectFromHost();
        });
    });
    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", proxy.serverPort()));
    logged.clear();
    const auto handler = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &text) { logged << text; });
    QWidget window;
    Makeup::getInstance(&window)->httpGet();
    const bool answered = QTest::qWaitFor([] { return !logged.isEmpty(); });
    qInstallMessageHandler(handler);
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    QVERIFY(answered);
    QCOMPARE(logged, QStringList{R"("\"ab\"")"});
    QCOMPARE(requests, 1);
}

void MakeupTest::dialogWaitsForTheScript()
{
    QTemporaryDir directory;
    QFile script(directory.filePath("3g.sh"));
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write("read line\n");
    script.close();
    QProcess running;
    running.start("sh", {script.fileName()});
    QVERIFY(running.waitForStarted());
    QWidget window;
    QString text = "Some text";
    DetectMsg dialog(&window, &text, WAIT_AUTO_CONNECT);
    dialog.show();
    dialog.waitAutoConnect();
    QVERIFY(dialog.isVisible());
    running.kill();
    running.waitForFinished();
    dialog.waitAutoConnect();
    QVERIFY(!dialog.isVisible());
}

QTEST_MAIN(MakeupTest)
#include "tst_makeup.moc"
