// The pages of keys: what is on them, where, and how large.
#include "platform/keyboard/keyboardlayout.h"

#include <QtTest>

#include <algorithm>

using namespace keyboardlayout;

namespace
{

constexpr Page Pages[] = {Page::Letters, Page::Digits, Page::Symbols};

QString names(const QList<Key> &keys, Action action)
{
    QString text;
    for (const Key &key : keys) {
        if (key.action == action)
            text += key.name;
    }
    return text;
}

} // namespace

class KeyboardLayoutTest : public QObject
{
    Q_OBJECT

private slots:
    void everyPrintableCharacterIsOnAPage();
    void everyPageLeadsToTheOthers();
    void keysFillTheirRows_data();
    void keysFillTheirRows();
    void hintsChooseTheFirstPage();
};

void KeyboardLayoutTest::everyPrintableCharacterIsOnAPage()
{
    QString typed;
    for (Page page : Pages) {
        for (const Key &key : keys(page, {800, 250})) {
            if (key.action == Action::Character)
                typed += typedText(key, Shift::Off) + typedText(key, Shift::Once);
        }
    }
    for (char character = ' '; character <= '~'; ++character)
        QVERIFY2(typed.contains(QLatin1Char(character)), QByteArray(1, character).constData());
}

void KeyboardLayoutTest::everyPageLeadsToTheOthers()
{
    for (Page page : Pages) {
        const QList<Key> all = keys(page, {800, 250});
        QCOMPARE(names(all, Action::SwitchPage).isEmpty(), false);
        for (Action action : {Action::Backspace, Action::Enter, Action::Hide})
            QCOMPARE(std::count_if(all.begin(), all.end(),
                                   [action](const Key &key) { return key.action == action; }),
                     1);
        QVERIFY(names(all, Action::Character).contains(' '));
    }
    QCOMPARE(names(keys(Page::Letters, {800, 250}), Action::SwitchPage), QStringLiteral("123"));
    QCOMPARE(names(keys(Page::Digits, {800, 250}), Action::SwitchPage), QStringLiteral("#+=ABC"));
    QCOMPARE(names(keys(Page::Symbols, {800, 250}), Action::SwitchPage), QStringLiteral("123ABC"));
}

void KeyboardLayoutTest::keysFillTheirRows_data()
{
    QTest::addColumn<QSize>("panel");
    QTest::addColumn<QSize>("smallest");
    QTest::newRow("small") << QSize(480, 272) << QSize(48, 37);
    QTest::newRow("middle") << QSize(800, 480) << QSize(80, 62);
    QTest::newRow("large") << QSize(1280, 800) << QSize(128, 100);
    QTest::newRow("odd and low") << QSize(1023, 333) << QSize(102, 46);
}

void KeyboardLayoutTest::keysFillTheirRows()
{
    QFETCH(QSize, panel);
    QFETCH(QSize, smallest);
    const QSize whole = size(panel);
    QCOMPARE(whole.width(), panel.width());
    QVERIFY(whole.height() < panel.height() * 3 / 5);
    for (Page page : Pages) {
        QRect before(QPoint(0, 0), QSize(0, 0));
        QRegion covered;
        for (const Key &key : keys(page, whole)) {
            QVERIFY(key.rect.width() >= smallest.width());
            QVERIFY(key.rect.height() >= smallest.height());
            QVERIFY(!covered.intersects(key.rect));
            if (key.rect.top() == before.top())
                QCOMPARE(key.rect.left(), before.right() + 1);
            covered += key.rect;
            before = key.rect;
        }
        QCOMPARE(covered.boundingRect(), QRect(QPoint(0, 0), whole));
    }
}

void KeyboardLayoutTest::hintsChooseTheFirstPage()
{
    QCOMPARE(initialPage(Qt::ImhNoPredictiveText | Qt::ImhHiddenText), Page::Letters);
    for (auto hint :
         {Qt::ImhDigitsOnly, Qt::ImhFormattedNumbersOnly, Qt::ImhDialableCharactersOnly})
        QCOMPARE(initialPage(hint | Qt::ImhNoPredictiveText), Page::Digits);
}

QTEST_APPLESS_MAIN(KeyboardLayoutTest)
#include "tst_keyboardlayout.moc"
