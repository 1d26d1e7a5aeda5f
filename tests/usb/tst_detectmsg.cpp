// The dialog that waits for 3g.sh. The program never shows it, so the end-to-end tests cannot.
#include "usb/detectmsg.h"

#include <QtTest>
#include <QtWidgets>

class DetectMsgTest : public QObject
{
    Q_OBJECT

private slots:
    void waitsForTheScript();
};

void DetectMsgTest::waitsForTheScript()
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
    QCOMPARE(dialog.findChild<QLabel *>()->text(), text);
    dialog.waitAutoConnect();
    QVERIFY(dialog.isVisible());
    running.kill();
    running.waitForFinished();
    dialog.waitAutoConnect();
    QVERIFY(!dialog.isVisible());
    QVERIFY(!dialog.findChild<QTimer *>()->isActive());
}

QTEST_MAIN(DetectMsgTest)
#include "tst_detectmsg.moc"
