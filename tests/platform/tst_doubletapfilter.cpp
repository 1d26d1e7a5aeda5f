// Two touches in quick succession, and fingers that move during a touch.
#include "platform/doubletapfilter.h"

#include <QtTest>
#include <QtWidgets>

class DoubleTapFilterTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qApp->installEventFilter(&m_filter); }
    void nextKeyReplacesNothing_data();
    void nextKeyReplacesNothing();
    void quickTouchesOpenTabs();

private:
    DoubleTapFilter m_filter;
    std::unique_ptr<QPointingDevice> m_device{QTest::createTouchDevice()};
};

void DoubleTapFilterTest::nextKeyReplacesNothing_data()
{
    QTest::addColumn<QLineEdit::EchoMode>("echo");
    QTest::addColumn<bool>("mouse");
    QTest::addColumn<int>("interval"); // double-click interval of Qt, in milliseconds
    QTest::addColumn<int>("rolls");    // movement during a touch, in pixels
    QTest::newRow("touched soon") << QLineEdit::Normal << false << 400 << 0;
    QTest::newRow("touched late") << QLineEdit::Normal << false << 1 << 0;
    QTest::newRow("password") << QLineEdit::Password << false << 400 << 0;
    QTest::newRow("a finger rolls") << QLineEdit::Normal << false << 1 << -3;
    QTest::newRow("a finger slides") << QLineEdit::Password << false << 1 << -40;
    QTest::newRow("a mouse drags") << QLineEdit::Normal << true << 1 << -40;
}

void DoubleTapFilterTest::nextKeyReplacesNothing()
{
    QFETCH(QLineEdit::EchoMode, echo);
    QFETCH(bool, mouse);
    QFETCH(int, interval);
    QFETCH(int, rolls);
    QGuiApplication::styleHints()->setMouseDoubleClickInterval(interval);
    QLineEdit edit(QStringLiteral("internet.provider.example"));
    edit.setEchoMode(echo);
    edit.resize(400, 40);
    edit.show();
    QVERIFY(QTest::qWaitForWindowActive(&edit));
    QWindow *window = edit.windowHandle();
    const QPoint at = edit.inputMethodQuery(Qt::ImCursorRectangle).toRectF().center().toPoint();
    const QPoint to = at + QPoint(rolls, 0);
    for (int touch = 0; touch < 4; ++touch) {
        QTest::qWait(2);
        if (mouse) {
            QTest::mousePress(window, Qt::LeftButton, {}, at);
            QTest::mouseMove(window, to);
            QTest::mouseRelease(window, Qt::LeftButton, {}, to);
        } else {
            QTest::touchEvent(window, m_device.get()).press(0, at);
            QTest::touchEvent(window, m_device.get()).move(0, to);
            QTest::touchEvent(window, m_device.get()).release(0, to);
        }
        QCOMPARE(edit.selectedText(), QString());
        QCOMPARE(edit.cursorPosition() == edit.text().size(), rolls > -10);
    }
    QTest::keyClick(&edit, Qt::Key_Q);
    QCOMPARE(edit.text().size(), 26);
}

void DoubleTapFilterTest::quickTouchesOpenTabs()
{
    QGuiApplication::styleHints()->setMouseDoubleClickInterval(400);
    QTabBar bar;
    for (const char *text : {"first", "second", "third"})
        bar.addTab(text);
    bar.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bar));
    for (const int index : {1, 2, 0, 2}) {
        const QPoint at = bar.tabRect(index).center();
        QTest::touchEvent(bar.windowHandle(), m_device.get()).press(0, at);
        QTest::touchEvent(bar.windowHandle(), m_device.get()).release(0, at);
        QCOMPARE(bar.currentIndex(), index);
    }
}

QTEST_MAIN(DoubleTapFilterTest)
#include "tst_doubletapfilter.moc"
