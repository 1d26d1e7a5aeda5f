// The pages of the on-screen keyboard: their keys, and the keys' positions and sizes.
#include "platform/keyboard/keyboardlayout.h"

#include <QtTest>

#include <algorithm>

using namespace keyboardlayout;

class KeyboardLayoutTest : public QObject
{
    Q_OBJECT

private slots:
    void everyPrintableCharacterIsOnAPage();
    void keysFillThePanel_data();
    void keysFillThePanel();
};

void KeyboardLayoutTest::everyPrintableCharacterIsOnAPage()
{
    QString typed;
    for (Page page : {Page::Letters, Page::Digits, Page::Symbols}) {
        const QList<Key> all = keys(page, {800, 250});
        QString here;
        for (const Key &key : all) {
            if (key.action == Action::Character)
                here += typedText(key, Shift::Off) + typedText(key, Shift::Once);
        }
        QVERIFY(here.contains(' '));
        for (Action action : {Action::Backspace, Action::Enter, Action::Hide})
            QCOMPARE(std::count_if(all.begin(), all.end(),
                                   [action](const Key &key) { return key.action == action; }),
                     1);
        typed += here;
    }
    for (char character = ' '; character <= '~'; ++character)
        QVERIFY2(typed.contains(QLatin1Char(character)), QByteArray(1, character).constData());
}

void KeyboardLayoutTest::keysFillThePanel_data()
{
    QTest::addColumn<QSize>("panel");
    QTest::addColumn<QSize>("smallest");
    QTest::newRow("small") << QSize(480, 272) << QSize(48, 37);
    QTest::newRow("middle") << QSize(800, 480) << QSize(80, 62);
    QTest::newRow("large") << QSize(1280, 800) << QSize(128, 100);
    QTest::newRow("odd and low") << QSize(1023, 333) << QSize(102, 46);
}

/** Check that the keys cover the keyboard without gaps, also at the edges of the panel. */
void KeyboardLayoutTest::keysFillThePanel()
{
    QFETCH(QSize, panel);
    QFETCH(QSize, smallest);
    const QSize whole = size(panel);
    QCOMPARE(whole.width(), panel.width());
    QVERIFY(whole.height() < panel.height() * 3 / 5);
    for (Page page : {Page::Letters, Page::Digits, Page::Symbols}) {
        QRegion covered;
        for (const Key &key : keys(page, whole)) {
            QVERIFY(key.rect.width() >= smallest.width());
            QVERIFY(key.rect.height() >= smallest.height());
            QVERIFY(!covered.intersects(key.rect));
            covered += key.rect;
        }
        QCOMPARE(covered, QRegion(QRect(QPoint(0, 0), whole)));
    }
}

QTEST_APPLESS_MAIN(KeyboardLayoutTest)
#include "tst_keyboardlayout.moc"
