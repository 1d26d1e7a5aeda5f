// When the second of two quick touches is a touch of its own.
#include "platform/doubletouch.h"

#include <QtTest>
#include <QtWidgets>

class DoubleTouchTest : public QObject
{
    Q_OBJECT

private slots:
    void becomes_data();
    void becomes();
    void quickTouchesOpenTabs();
};

class Window : public QWindow
{
public:
    QList<QEvent::Type> seen;

protected:
    void mousePressEvent(QMouseEvent *event) override { seen << event->type(); }
    void mouseDoubleClickEvent(QMouseEvent *event) override { seen << event->type(); }
};

void DoubleTouchTest::becomes_data()
{
    QTest::addColumn<QPointF>("second");
    QTest::addColumn<QEvent::Type>("type");
    QTest::newRow("at the same place") << QPointF(100, 100) << QEvent::MouseButtonDblClick;
    QTest::newRow("as near as a finger is") << QPointF(104, 96) << QEvent::MouseButtonDblClick;
    QTest::newRow("beside it") << QPointF(150, 100) << QEvent::MouseButtonPress;
    QTest::newRow("below it") << QPointF(100, 150) << QEvent::MouseButtonPress;
}

void DoubleTouchTest::becomes()
{
    QFETCH(QPointF, second);
    QFETCH(QEvent::Type, type);
    Window window;
    DoubleTouch filter;
    window.installEventFilter(&filter);
    const auto send = [&window](QEvent::Type kind, QPointF at) {
        QMouseEvent event(kind, at, at, at, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
    };
    send(QEvent::MouseButtonPress, {100, 100});
    // As Qt tells of a double click.
    send(QEvent::MouseButtonPress, second);
    send(QEvent::MouseButtonDblClick, second);
    const QEvent::Type press = QEvent::MouseButtonPress;
    QCOMPARE(window.seen, (QList<QEvent::Type>{press, press, type}));
}

void DoubleTouchTest::quickTouchesOpenTabs()
{
    DoubleTouch filter;
    qApp->installEventFilter(&filter);
    QTabBar bar;
    for (const char *text : {"first", "second", "third"})
        bar.addTab(text);
    bar.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bar));
    const std::unique_ptr<QPointingDevice> device(QTest::createTouchDevice());
    for (const int index : {1, 2, 0, 2}) {
        const QPoint at = bar.tabRect(index).center();
        QTest::touchEvent(bar.windowHandle(), device.get()).press(0, at);
        QTest::touchEvent(bar.windowHandle(), device.get()).release(0, at);
        QCOMPARE(bar.currentIndex(), index);
    }
}

QTEST_MAIN(DoubleTouchTest)
#include "tst_doubletouch.moc"
