// Display profiles of known panels and of sizes close to them.
#include "core/displayprofile.h"

#include <QtTest>

class DisplayProfileTest : public QObject
{
    Q_OBJECT

private slots:
    void profiles_data();
    void profiles();
};

void DisplayProfileTest::profiles_data()
{
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<int>("model");
    QTest::addColumn<QRect>("busyBar");

    QTest::newRow("small") << QSize(480, 272) << 4 << QRect(120, 120, 240, 22);
    QTest::newRow("medium") << QSize(800, 480) << 7 << QRect(200, 200, 400, 40);
    QTest::newRow("large") << QSize(1280, 800) << 10 << QRect(320, 320, 640, 66);
    QTest::newRow("rotated") << QSize(272, 480) << 0 << QRect(68, 68, 136, 40);
    QTest::newRow("one height off") << QSize(800, 481) << 0 << QRect(200, 200, 400, 40);
    QTest::newRow("odd width") << QSize(1025, 600) << 0 << QRect(256, 256, 512, 50);
}

void DisplayProfileTest::profiles()
{
    QFETCH(QSize, screen);
    const int model = displayprofile::modelFor(screen);
    QTEST(model, "model");
    QTEST(displayprofile::busyBarGeometry(screen), "busyBar");
    QCOMPARE(displayprofile::styleSheetPath(model).isEmpty(), model == 0);
}

QTEST_GUILESS_MAIN(DisplayProfileTest)
#include "tst_displayprofile.moc"
