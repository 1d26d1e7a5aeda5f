// The stand-in for the board's display server: the pointer, and the measures of the panel.
#include "platform/panelstyle.h"
#include "platform/qwsserver.h"
#include "platform/screen.h"

#include <QtTest>
#include <QtWidgets>

class PlatformTest : public QObject
{
    Q_OBJECT

private slots:
    void cursorHidesAndComesBack();
    void layoutsTakeThePanelsMeasures();
};

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
