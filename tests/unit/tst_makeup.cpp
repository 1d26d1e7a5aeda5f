// The controller and its dialog where the whole program is not needed: class contracts, field
// comparison, probes and teardown.
#include "makeup.h"
#include "mfilter.h"
#include "usb/detectmsg.h"
#include "widget.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>
#include <QtWidgets>
#include <csignal>
#include <fcntl.h>
#include <sys/ioctl.h>

namespace
{

QStringList logged;

void recordMessage(QtMsgType, const QMessageLogContext &, const QString &text)
{
    logged << text;
}

QStringList ownMethods(const QMetaObject &meta)
{
    QStringList signatures;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        signatures << QString::fromLatin1(meta.method(i).methodSignature());
    return signatures;
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
    void classContracts();
    void oneController();
    void styleSheetsAreFixedTexts_data();
    void styleSheetsAreFixedTexts();
    void settingPageMargins_data();
    void settingPageMargins();
    void comparesTheFieldsWhateverTheTabOrder_data();
    void comparesTheFieldsWhateverTheTabOrder();
    void busyBars();
    void signalBridgeNeverBlocks();
    void dialogKinds_data();
    void dialogKinds();
    void closeNeedsAWindowBeneath();
    void modemTextIsNoMarkup();
    void pingOutputIsPlainAndAppended();
    void httpProbe_data();
    void httpProbe();
    void httpProbeReleasesItsObjects();
    void escapeLeavesALineEdit();
    void teardownReleasesEveryWidget();

private:
    void build();

    QWidget *window = nullptr;
    Makeup *makeup = nullptr;
    qsizetype widgetsBefore = 0;
};

void MakeupTest::init()
{
    widgetsBefore = QApplication::allWidgets().size();
    window = new QWidget;
    makeup = Makeup::getInstance(window);
}

void MakeupTest::cleanup()
{
    delete window;
    window = nullptr;
}

void MakeupTest::build()
{
    makeup->doShapping();
    makeup->loadParam();
    window->show();
}

void MakeupTest::classContracts()
{
    QCOMPARE(ownMethods(Makeup::staticMetaObject),
             (QStringList{"saveParam()", "doPPPConnect()", "doPPPDisconnect()", "checkPPPConnect()",
                          "checkPPPMsg()", "pinResponse()", "handleSigUsr()", "mClose()",
                          "managerFinished(QNetworkReply*)", "checkSignalStrength(int)"}));
    QCOMPARE(ownMethods(DetectMsg::staticMetaObject),
             (QStringList{"waitUSB()", "waitAutoConnect()", "closeWidget()"}));
    QCOMPARE(ownMethods(Widget::staticMetaObject), QStringList{});
    QCOMPARE(ownMethods(MFilter::staticMetaObject), QStringList{});
}

void MakeupTest::oneController()
{
    QWidget other;
    QCOMPARE(Makeup::getInstance(&other), makeup);
    QCOMPARE(makeup->parent(), window);
    delete window;
    window = new QWidget;
    makeup = Makeup::getInstance(window); // a new one, once the first has gone
    QCOMPARE(makeup->parent(), window);
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

void MakeupTest::settingPageMargins_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<bool>("roomy");
    QTest::newRow("small") << 4 << false;
    QTest::newRow("medium") << 7 << false;
    QTest::newRow("large") << 10 << true;
    QTest::newRow("unknown") << 0 << false;
}

void MakeupTest::settingPageMargins()
{
    QFETCH(int, model);
    QFETCH(bool, roomy);
    Makeup::monitorModel = model;
    build();
    QCOMPARE(makeup->settingGrid->contentsMargins() == QMargins(10, 30, 0, 0), roomy);
    QCOMPARE(makeup->settingGrid->verticalSpacing() == 30, roomy);
    QCOMPARE(makeup->settingGrid->rowStretch(6), roomy ? 1 : 0);
    QCOMPARE(makeup->statusGrid->contentsMargins(), QMargins(10, 20, 0, 0));
    QCOMPARE(makeup->miscGrid->columnStretch(3), 1);
    QCOMPARE(window->size(), Makeup::monitorSize);
}

void MakeupTest::comparesTheFieldsWhateverTheTabOrder_data()
{
    QTest::addColumn<QList<int>>("visits");
    QTest::newRow("at start-up") << QList<int>{};
    QTest::newRow("every tab") << QList<int>{1, 2, 0};
    QTest::newRow("the last tab stays open") << QList<int>{1, 2};
    QTest::newRow("back and forth") << QList<int>{2, 0, 2, 1, 0};
}

void MakeupTest::comparesTheFieldsWhateverTheTabOrder()
{
    QFETCH(QList<int>, visits);
    build();
    makeup->paramList = {"a", "b", "c", "d", "e", "0"};
    makeup->autoParamList = {"1", "f"};
    QLineEdit *const edits[] = {makeup->apnEdit,      makeup->dialNumEdit, makeup->userEdit,
                                makeup->passwordEdit, makeup->pinEdit,     makeup->countsEdit};
    const char *texts[] = {"a", "b", "c", "d", "e", "f"};
    for (int i = 0; i < 6; ++i)
        edits[i]->setText(QLatin1String(texts[i]));
    for (int tab : visits)
        makeup->tabWidget->setCurrentIndex(tab);

    QVERIFY(!makeup->checkParamModify());
    for (QLineEdit *edit : edits) {
        const QString before = edit->text();
        edit->setText(before + "x");
        QVERIFY(makeup->checkParamModify());
        edit->setText(before);
        QVERIFY(!makeup->checkParamModify());
    }
    makeup->authCombo->setCurrentIndex(2);
    QVERIFY(makeup->checkParamModify());
    makeup->authCombo->setCurrentIndex(0);
    makeup->autoYesRadio->setChecked(true);
    QVERIFY(makeup->checkParamModify());
    QVERIFY(!makeup->autoNoRadio->isChecked());
}

void MakeupTest::busyBars()
{
    build();
    makeup->progressBar(false); // none yet: nothing happens
    makeup->progressBar(true);
    QProgressBar *first = makeup->busyBar;
    makeup->progressBar(true);
    QVERIFY(makeup->busyBar != first);
    makeup->progressBar(false);
    QVERIFY(makeup->busyBar->isHidden());
    QVERIFY(first->isVisible());
    QCOMPARE(first->maximum(), 0);
    QCOMPARE(window->findChildren<QProgressBar *>().size(), 2);
}

void MakeupTest::signalBridgeNeverBlocks()
{
    for (int fd : Makeup::sigUsrFd) {
        QVERIFY(::fcntl(fd, F_GETFD) & FD_CLOEXEC);
        QVERIFY(::fcntl(fd, F_GETFL) & O_NONBLOCK);
    }
    for (int i = 0; i < 5000; ++i) {
        errno = EINTR;
        std::raise(SIGUSR1);
        QCOMPARE(errno, EINTR);
    }
    // Before the screen is built a signal is consumed, one byte each, and nothing else happens.
    const auto pending = [] {
        int bytes = 0;
        ::ioctl(Makeup::sigUsrFd[1], FIONREAD, &bytes);
        return bytes;
    };
    const int before = pending();
    QVERIFY(before > 0);
    makeup->handleSigUsr();
    QVERIFY(pending() < before);
    QVERIFY(makeup->sigUsrNotifier->isEnabled());
    char byte;
    while (::read(Makeup::sigUsrFd[1], &byte, 1) == 1) {
    }
}

void MakeupTest::dialogKinds_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("button");
    QTest::addColumn<bool>("polls");
    QTest::newRow("dongle") << int(WAIT_USB) << "Close" << true;
    QTest::newRow("auto connect") << int(WAIT_AUTO_CONNECT) << "OK" << true;
    QTest::newRow("notice") << int(NOTICE) << "OK" << false;
    QTest::newRow("unknown") << 3 << "" << false;
}

void MakeupTest::dialogKinds()
{
    QFETCH(int, kind);
    QString text = "Some text";
    auto dialog = std::make_unique<DetectMsg>(window, &text, static_cast<Msg>(kind));
    text.clear();
    dialog->show();
    QString buttons;
    for (auto *button : dialog->findChildren<QPushButton *>())
        buttons += button->isVisible() ? button->text() : QString();
    QTEST(buttons, "button");
    const auto *label = dialog->findChild<QLabel *>("msgLabel");
    QCOMPARE(label->text(), QStringLiteral("Some text"));
    QCOMPARE(label->alignment(), Qt::AlignCenter);
    QCOMPARE(dialog->size(), Makeup::monitorSize);
    QCOMPARE(dialog->pos(), QPoint(0, 0));

    const auto *timer = dialog->findChild<QTimer *>();
    QFETCH(bool, polls);
    QCOMPARE(timer != nullptr && timer->isActive() && timer->interval() == 3000, polls);
    dialog->close();
    QVERIFY(timer == nullptr || !timer->isActive());
}

void MakeupTest::closeNeedsAWindowBeneath()
{
    QString text;
    DetectMsg dialog(window, &text, WAIT_USB);
    dialog.show();
    dialog.closeWidget();
    QVERIFY(dialog.isVisible());
    window->show();
    dialog.closeWidget();
    QVERIFY(!dialog.isVisible());
    QVERIFY(window->isVisible());
}

void MakeupTest::modemTextIsNoMarkup()
{
    QCOMPARE(makeup->signalValue->textFormat(), Qt::PlainText);
}

void MakeupTest::pingOutputIsPlainAndAppended()
{
    QTemporaryDir folder;
    QFile ping(folder.filePath("ping"));
    QVERIFY(ping.open(QIODevice::WriteOnly));
    ping.write("#!/bin/sh\necho \"$*\"; printf '<b>x</b>\\000lost'; echo wrong >&2\n");
    ping.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    ping.close();
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", folder.path().toLocal8Bit() + ':' + path);
    makeup->pinResponse();
    makeup->pinResponse();
    qputenv("PATH", path);
    const QString once = "oo\n-c 3 168.95.1.1\n<b>x</b>\nwrong\n";
    QCOMPARE(makeup->pingOutput->toPlainText(), once + '\n' + once);
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
    makeup->httpGet();
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
    connect(manager, &QNetworkAccessManager::finished, makeup, &Makeup::managerFinished);
    QTRY_VERIFY(manager.isNull());
    QVERIFY(reply.isNull());
}

void MakeupTest::escapeLeavesALineEdit()
{
    MFilter filter(nullptr);
    qApp->installEventFilter(&filter);
    build();
    window->activateWindow();
    makeup->apnEdit->setFocus();
    QTRY_VERIFY(makeup->apnEdit->hasFocus());
    QTest::keyClick(makeup->apnEdit, Qt::Key_A);
    QVERIFY(makeup->apnEdit->hasFocus());
    QTest::keyClick(makeup->apnEdit, Qt::Key_Escape);
    QVERIFY(!makeup->apnEdit->hasFocus());
    QCOMPARE(makeup->apnEdit->text(), QStringLiteral("a"));

    QString text;
    DetectMsg dialog(window, &text, NOTICE); // elsewhere Escape arrives: it closes a dialog
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(!dialog.isVisible());
}

void MakeupTest::teardownReleasesEveryWidget()
{
    build();
    QString text;
    for (int i = 0; i < 2; ++i) {
        makeup->progressBar(true);
        makeup->messageDialog = new DetectMsg(window, &text, NOTICE); // the older one stays a child
    }
    delete window;
    window = nullptr;
    QCOMPARE(QApplication::allWidgets().size(), widgetsBefore);
}

QTEST_MAIN(MakeupTest)
#include "tst_makeup.moc"
