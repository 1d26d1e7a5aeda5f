// The stand-in for the board's display server.
#include "platform/inputmethodmanagement.h"
#include "platform/panelstyle.h"
#include "platform/qwsinputmethod.h"
#include "platform/qwsserver.h"
#include "platform/screen.h"

#include <QtTest>
#include <QtWidgets>

namespace
{

class CountingInputMethod : public QWSInputMethod
{
public:
    void activate() override { ++activated; }
    int activated = 0;
};

QWidget *backdrop()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->windowFlags().testFlag(Qt::WindowTransparentForInput))
            return widget;
    }
    return nullptr;
}

} // namespace

class PlatformTest : public QObject
{
    Q_OBJECT

private slots:
    void inputMethods();
    void backgroundIsOneSolidWindowOfThePanel();
    void backgroundDoesNotKeepTheProgramAlive();
    void cursorHidesAndComesBack();
    void layoutsTakeThePanelsMeasures();
};

void PlatformTest::inputMethods()
{
    QWSServer::setCurrentInputMethod(InputMethodManagement().getCurrentInputMethod()); // none: fine
    CountingInputMethod method;
    QWSServer::setCurrentInputMethod(&method);
    QCOMPARE(method.activated, 1);
}

void PlatformTest::backgroundIsOneSolidWindowOfThePanel()
{
    QWSServer::setBackground(QBrush(Qt::red));
    QWSServer::setBackground(QBrush(Qt::black, Qt::SolidPattern));
    QVERIFY(backdrop() != nullptr);
    QVERIFY(backdrop()->isVisible());
    QCOMPARE(backdrop()->geometry(), QGuiApplication::primaryScreen()->geometry());
    const QImage image = backdrop()->grab().toImage();
    for (const QPoint &at : {QPoint(0, 0), image.rect().center(), image.rect().bottomRight()})
        QCOMPARE(image.pixelColor(at), QColor(Qt::black));
    QCOMPARE(QApplication::topLevelWidgets().size(), 1);
}

void PlatformTest::backgroundDoesNotKeepTheProgramAlive()
{
    QWSServer::setBackground(QBrush(Qt::black));
    QWidget window;
    window.show();
    QTimer::singleShot(0, &window, &QWidget::close);
    bool forced = false;
    QTimer::singleShot(5000, qApp, [&] {
        forced = true;
        QCoreApplication::quit();
    });
    QApplication::exec();
    QVERIFY(!forced);
}

void PlatformTest::cursorHidesAndComesBack()
{
    QWSServer::setCursorVisible(false);
    QWSServer::setCursorVisible(false);
    QCOMPARE(QGuiApplication::overrideCursor()->shape(), Qt::BlankCursor);
    QWSServer::setCursorVisible(true);
    QVERIFY(QGuiApplication::overrideCursor() == nullptr);
}

void PlatformTest::layoutsTakeThePanelsMeasures()
{
    // The style sheet on the application wraps the style: the measures must come through it.
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

QTEST_MAIN(PlatformTest)
#include "tst_platform.moc"
