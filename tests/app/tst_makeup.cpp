// The controller and its dialog where the whole program does not reach: style sheets, the signal
// handler, the dialog that waits for a script, the HTTP probe and teardown.
#include "app/makeup.h"
#include "usb/detectmsg.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>
#include <QtWidgets>
#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace
{

QStringList logged;

void recordMessage(QtMsgType, const QMessageLogContext &, const QString &text)
{
    logged << text;
}

/** Answers every HTTP request with one fixed reply. */
class HttpStandIn : public QTcpServer
{
public:
    explicit HttpStandIn(const QByteArray &reply)
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this, reply] {
            QTcpSocket *peer = nextPendingConnection();
            connect(peer, &QTcpSocket::readyRead, peer, [this, peer, reply] {
                if (peer->readAll().contains("\r\n\r\n"))
                    ++requests;
                peer->write(reply);
                peer->disconnectFromHost();
            });
        });
    }
    int requests = 0;
};

} // namespace

class MakeupTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void styleSheetsAreFixedTexts_data();
    void styleSheetsAreFixedTexts();
    void signalHandlerKeepsErrno();
    void dialogKinds_data();
    void dialogKinds();
    void autoConnectDialogWaitsForItsScript();
    void httpProbe_data();
    void httpProbe();
    void httpProbeReleasesItsObjects();
    void teardownReleasesEveryWidget();

private:
    QWidget *m_window = nullptr;
    Makeup *m_makeup = nullptr;
    qsizetype m_widgetsBefore = 0;
};

void MakeupTest::init()
{
    m_widgetsBefore = QApplication::allWidgets().size();
    m_window = new QWidget;
    m_makeup = Makeup::getInstance(m_window);
}

void MakeupTest::cleanup()
{
    delete m_window;
    m_window = nullptr;
}

void MakeupTest::styleSheetsAreFixedTexts_data()
{
    QTest::addColumn<QByteArray>("sha1");
    QTest::newRow("global") << QByteArray("79808123ae8920aa91b9a4cd91ea980956943e07");
    QTest::newRow("profile4") << QByteArray("0effe09ec5afea52dfaa0d23b7a1cf1f9ff15a64");
    QTest::newRow("profile7") << QByteArray("69302d9a45f05bbef5fc0b848914afb2b52df380");
    QTest::newRow("profile10") << QByteArray("d82dc4ede279944be38476844ce0e3939acf633c");
}

void MakeupTest::styleSheetsAreFixedTexts()
{
    QFile sheet(QStringLiteral(":/styles/%1.qss").arg(QLatin1String(QTest::currentDataTag())));
    QVERIFY(sheet.open(QIODevice::ReadOnly));
    QTEST(QCryptographicHash::hash(sheet.readAll(), QCryptographicHash::Sha1).toHex(), "sha1");
}

void MakeupTest::signalHandlerKeepsErrno()
{
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

void MakeupTest::dialogKinds_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QStringList>("buttons");
    QTest::addColumn<QList<int>>("timers"); // intervals in milliseconds
    QTest::newRow("WAIT_USB") << 0 << QStringList{"Close"} << QList<int>{3000};
    QTest::newRow("WAIT_AUTO_CONNECT") << 1 << QStringList{"OK"} << QList<int>{3000};
    QTest::newRow("NOTICE") << 2 << QStringList{"OK"} << QList<int>{};
    QTest::newRow("unknown") << 3 << QStringList{} << QList<int>{};
}

void MakeupTest::dialogKinds()
{
    QFETCH(int, kind);
    QString text = "Some text";
    DetectMsg dialog(m_window, &text, Msg(kind));
    QStringList buttons;
    for (const auto *button : dialog.findChildren<QPushButton *>())
        buttons << button->text();
    QTEST(buttons, "buttons");
    QList<int> timers;
    for (const auto *timer : dialog.findChildren<QTimer *>()) {
        if (timer->isActive())
            timers << timer->interval();
    }
    QTEST(timers, "timers");
    QCOMPARE(dialog.findChild<QLabel *>()->text(), text);
}

void MakeupTest::autoConnectDialogWaitsForItsScript()
{
    QTemporaryDir folder;
    QFile script(folder.filePath("3g.sh"));
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write("read line\n");
    script.close();
    QProcess running;
    running.start("sh", {script.fileName()});
    QVERIFY(running.waitForStarted());

    QString text;
    DetectMsg dialog(m_window, &text, WAIT_AUTO_CONNECT);
    dialog.show();
    dialog.waitAutoConnect();
    QVERIFY(dialog.isVisible());
    running.kill();
    running.waitForFinished();
    dialog.waitAutoConnect();
    QVERIFY(!dialog.isVisible());
    QVERIFY(!dialog.findChild<QTimer *>()->isActive());
}

void MakeupTest::httpProbe_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("debugLine"); // a regular expression
    QTest::newRow("page") << QByteArray("HTTP/1.0 200 OK\r\n\r\nhello \"you\"")
                          << "^\"hello \\\\\"you\\\\\"\"$";
    QTest::newRow("zero byte") << QByteArray("HTTP/1.0 200 OK\r\n\r\nab\0cd", 24) << "^\"ab\"$";
    QTest::newRow("redirection is not followed")
        << QByteArray("HTTP/1.0 302 Found\r\nLocation: http://www.example.com/x\r\n\r\nmoved")
        << "^\"moved\"$";
    QTest::newRow("error") << QByteArray("HTTP/1.0 404 Not Found\r\n\r\nbody") << "Not Found";
}

void MakeupTest::httpProbe()
{
    QFETCH(QByteArray, reply);
    QFETCH(QString, debugLine);
    HttpStandIn server(reply);
    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", server.serverPort()));
    logged.clear();
    const auto handler = qInstallMessageHandler(recordMessage);
    m_makeup->httpGet();
    const bool answered = QTest::qWaitFor([] { return !logged.isEmpty(); });
    qInstallMessageHandler(handler);
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    QVERIFY(answered);
    QCOMPARE(logged.size(), 1);
    QVERIFY2(logged.first().contains(QRegularExpression(debugLine)), qPrintable(logged.first()));
    QCOMPARE(server.requests, 1);
}

void MakeupTest::httpProbeReleasesItsObjects()
{
    HttpStandIn server("HTTP/1.0 200 OK\r\n\r\n");
    QPointer<QNetworkAccessManager> manager = new QNetworkAccessManager;
    const QUrl url(QStringLiteral("http://127.0.0.1:%1/").arg(server.serverPort()));
    QPointer<QNetworkReply> reply = manager->get(QNetworkRequest(url));
    connect(manager, &QNetworkAccessManager::finished, m_makeup, &Makeup::managerFinished);
    QTRY_VERIFY(manager.isNull());
    QVERIFY(reply.isNull());
}

void MakeupTest::teardownReleasesEveryWidget()
{
    m_makeup->doShapping();
    QString text;
    for (int i = 0; i < 2; ++i) {
        m_makeup->progressBar(true);
        m_makeup->messageDialog =
            new DetectMsg(m_window, &text, NOTICE); // the older one stays a child
    }
    delete m_window;
    m_window = nullptr;
    QCOMPARE(QApplication::allWidgets().size(), m_widgetsBefore);
}

QTEST_MAIN(MakeupTest)
#include "tst_makeup.moc"
