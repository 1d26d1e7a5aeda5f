// The pages of the on-screen keyboard: positions and sizes of their keys.
#include "platform/keyboard/keyboardlayout.h"

#include <QtTest>

using namespace keyboardlayout;

class KeyboardLayoutTest : public QObject
{
    Q_OBJECT

private slots:
    void keysFillThePanel_data();
    void keysFillThePanel();
};

void KeyboardLayoutTest::keysFillThePanel_data()
{
    QTest::addColumn<QSize>("panel");
    QTest::addColumn<QSize>("smallest");
    QTest::newRow("small") << QSize(480, 272) << QSize(48, 37);
    QTest::newRow("middle") << QSize(800, 480) << QSize(80, 62);
    QTest::newRow("large") << QSize(1280, 800) << QSize(128, 100);
    QTest::newRow("odd and low") << QSize(1023, 333) << QSize(102, 46);
}

/** Check that the keys of each page cover the keyboard without gaps, also at the edges of the
 * panel. Each page has one key for Backspace, Enter and Hide. */
void KeyboardLayoutTest::keysFillThePanel()
{
    QFETCH(QSize, panel);
    QFETCH(QSize, smallest);
    const QSize whole = size(panel);
    QCOMPARE(whole.width(), panel.width());
    QVERIFY(whole.height() < panel.height() * 3 / 5);
    for (Page page : {Page::Letters, Page::Digits, Page::Symbols}) {
        QRegion covered;
        QList<Action> actions;
        for (const Key &key : keys(page, whole)) {
            QVERIFY(key.rect.width() >= smallest.width());
            QVERIFY(key.rect.height() >= smallest.height());
            QVERIFY(!covered.intersects(key.rect));
            covered += key.rect;
            actions << key.action;
        }
        for (Action action : {Action::Backspace, Action::Enter, Action::Hide})
            QCOMPARE(actions.count(action), 1);
        QCOMPARE(covered, QRegion(QRect(QPoint(0, 0), whole)));
    }
}

QTEST_APPLESS_MAIN(KeyboardLayoutTest)
#include "tst_keyboardlayout.moc"
