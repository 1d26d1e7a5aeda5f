// The platform layer: the background, style metrics of the panel, and how often a moving bar is
// painted.
#include "platform/panelstyle.h"
#include "platform/qwsserver.h"
#include "platform/screen.h"

#include <QtTest>
#include <QtWidgets>

namespace
{

/** Counts the events of one type that an object receives. */
class Counter : public QObject
{
public:
    Counter(QObject *watched, QEvent::Type type) : m_type(type)
    {
        watched->installEventFilter(this);
    }

    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == m_type ? 1 : 0;
        return false;
    }

    int count = 0;

private:
    QEvent::Type m_type;
};

} // namespace

class PlatformTest : public QObject
{
    Q_OBJECT

private slots:
    void backgroundIsPaintedUntilCovered();
    void layoutsTakeThePanelsMeasures();
    void movingBarIsPaintedTenTimesASecond();
};

/** A colour with which Qt does not clear the panel, like black on a framebuffer with an alpha
 * channel.
 */
void PlatformTest::backgroundIsPaintedUntilCovered()
{
    QWSServer::setBackground(QBrush(Qt::darkBlue));
    QCOMPARE(QGuiApplication::allWindows().size(), 1);
    const QPointer<QWindow> background = QGuiApplication::allWindows().constFirst();
    QScreen *screen = QGuiApplication::primaryScreen();
    QCOMPARE(background->geometry(), screen->geometry());
    const QImage painted = screen->grabWindow(background->winId()).toImage();
    QCOMPARE(painted.size(), screen->size());
    QCOMPARE(painted.pixelColor(1, 1), QColor(Qt::darkBlue));

    QDialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY2(background != nullptr, "the background covers the panel around a dialog");
    QWidget page;
    page.setWindowFlags(Qt::FramelessWindowHint);
    page.setGeometry(screen->geometry());
    page.show();
    QEventLoop loop; // started after the window is shown, as in the program
    QTimer::singleShot(100, &loop, &QEventLoop::quit);
    loop.exec();
    QVERIFY2(background == nullptr, "its backing store is freed");
}

void PlatformTest::layoutsTakeThePanelsMeasures()
{
    // An application style sheet wraps the style; the style's metrics must still apply.
    qApp->setStyle(new PanelStyle({20, 7, 2}));
    qApp->setStyleSheet("QPushButton{border-style: outset;}");
    QWidget page;
    auto *grid = new QGridLayout(&page);
    grid->addWidget(new QLineEdit, 0, 0);
    grid->addWidget(new QLineEdit, 1, 1);
    QCOMPARE(grid->contentsMargins(), QMargins(7, 7, 7, 7));
    QCOMPARE(grid->verticalSpacing(), 2);
    QCOMPARE(grid->horizontalSpacing(), 2);
    qApp->setStyleSheet(QString());

    PanelStyle::apply(*qApp);
    QCOMPARE(qApp->font().pixelSize(), panelMetrics(deviceScreenSize()).fontPixels);
    QVERIFY(panelMetrics({480, 272}).layoutSpacing < panelMetrics({800, 480}).layoutSpacing);
}

void PlatformTest::movingBarIsPaintedTenTimesASecond()
{
    qApp->setStyle(new PanelStyle({20, 7, 2}));
    qApp->setStyleSheet("QProgressBar::chunk{width: 10px;}");
    QProgressBar bar;
    bar.setRange(0, 0);
    Counter paints(&bar, QEvent::Paint);
    bar.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bar));
    paints.count = 0;
    QElapsedTimer elapsed;
    elapsed.start();
    QTest::qWait(1000);
    QVERIFY2(paints.count > 2, "it moves");
    QVERIFY2(paints.count <= elapsed.elapsed() / 100 + 1,
             qPrintable(QString::number(paints.count)));

    bar.close();
    QTest::qWait(200); // wait for the last paint events
    Counter updates(&bar, QEvent::StyleAnimationUpdate);
    QTest::qWait(200);
    QCOMPARE(updates.count, 0);
    qApp->setStyleSheet(QString());
}

QTEST_MAIN(PlatformTest)
#include "tst_platform.moc"
