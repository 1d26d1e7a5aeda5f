// The places of the keys on the keyboard's pages, and the typed text for sequences of touches. In a
// sequence, "1+q" puts finger 1 on q, "1>w" slides it to w, "1-" lifts it, "q" touches and releases
// q, "~500" waits 500 ms, "rep" repeats a held key, "cancel" cancels all touches.
#include "platform/keyboard/keyboardstate.h"

#include <QtTest>

using namespace keyboardlayout;
using Milliseconds = KeyboardState::Milliseconds;

namespace
{

constexpr Milliseconds DoubleTapInterval{400};
constexpr int OneFinger = 9;

QRect rectOf(const KeyboardState &keys, const QString &name)
{
    for (const Key &key : keys.keys()) {
        if (key.name == name)
            return key.rect;
    }
    return QRect();
}

/** Run a sequence of touches. @return typed text, with "<" for Backspace and "$" for Enter */
class Scene
{
public:
    explicit Scene(KeyboardState &keys) : m_keys(keys) {}

    QString play(const QString &scene)
    {
        for (const QString &step : scene.split(' '))
            take(step);
        return m_typed;
    }

private:
    void take(const QString &step)
    {
        const int finger = step.left(1).toInt();
        const QString action = finger > 0 ? step.mid(1, 1) : QString();
        if (step.startsWith('~')) {
            m_now += Milliseconds(step.mid(1).toInt());
        } else if (step == "rep") {
            note(m_keys.autoRepeat());
        } else if (step == "cancel") {
            m_keys.cancel();
        } else if (action == "+") {
            press(finger, step.mid(2));
        } else if (action == ">") {
            m_at[finger] = where(step.mid(2));
            m_keys.move(finger, m_at[finger]);
        } else if (action == "-") {
            note(m_keys.release(finger, m_at[finger], m_now));
        } else {
            press(OneFinger, step);
            m_now += Milliseconds(80);
            note(m_keys.release(OneFinger, m_at[OneFinger], m_now));
        }
    }

    void press(int finger, const QString &name)
    {
        m_at[finger] = where(name);
        note(m_keys.press(finger, m_at[finger], m_now));
    }

    QPoint where(const QString &name) const
    {
        if (name == "hole") // at the place of the space bar, on pages without one
            return {rectOf(m_keys, ".").left() - 9, rectOf(m_keys, ".").center().y()};
        if (name == "edge") // just outside the edge of q
            return {rectOf(m_keys, "q").right() + 3, rectOf(m_keys, "q").center().y()};
        if (name == "Space")
            return rectOf(m_keys, " ").center();
        return rectOf(m_keys, name).center();
    }

    void note(const KeyboardState::Result &result)
    {
        if (!result)
            return;
        m_typed += result->action == Action::Character   ? result->name
                   : result->action == Action::Backspace ? "<"
                                                         : "$";
    }

    KeyboardState &m_keys;
    QHash<int, QPoint> m_at;
    QString m_typed;
    Milliseconds m_now{100000};
};

} // namespace

class KeyboardStateTest : public QObject
{
    Q_OBJECT

private slots:
    void scenes_data();
    void scenes();
    void openStartsOver();
    void keysFillThePanel();
};

void KeyboardStateTest::scenes_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<Qt::InputMethodHint>("field");
    const auto row = [](const char *name, const char *scene, const char *typed,
                        Qt::InputMethodHint field = Qt::ImhNone) {
        QTest::newRow(name) << QString(scene) << QString(typed) << field;
    };
    row("one finger", "q w Space Backspace Enter", "qw <$");
    row("thumbs in turn", "1+q 1- 2+w 2-", "qw");
    row("next before last is up", "1+q 2+w 1- 1+e 2- 1-", "qwe");
    row("last is up after next", "1+q 2+w 2- 1-", "qw");
    row("three at once", "1+q 2+w 3+e 2- 1- 3-", "qwe");
    row("one key by two thumbs", "1+q 2+q 1- 2-", "qq");
    row("slid off", "1+q 1>e 1-", "");
    row("slid off and back", "1+q 1>e 1>q 1-", "");
    row("slid off beside another finger", "1+q 1>e 2+w 1- 2-", "w");
    row("slid after it has counted", "1+q 2+w 1>e 1- 2-", "qw");
    row("rolled over the edge", "1+q 1>edge 1-", "q");
    row("no space in digits", "1+1 2+hole 1- 2- ABC 1+hole 1-", "1", Qt::ImhDigitsOnly);
    row("cancelled", "1+q cancel 1- w", "w");
    row("unknown finger", "1- 2>q 2-", "");
    row("shift is for one letter", "Shift q w", "Qw");
    row("shift and letter overlap", "1+Shift 2+q 1- 2- w", "Qw");
    row("shift taken back", "Shift ~500 Shift q", "q");
    row("slid off shift", "1+Shift 1>z 1- q", "q");
    row("shift locks", "Shift ~200 Shift q w @ e", "QW@E");
    row("lock taken back", "Shift Shift q Shift w", "Qw");
    row("lock taken back at once", "Shift Shift Shift w", "w");
    row("shift, letter, shift in haste", "Shift q Shift w e", "QWe");
    row("pages", "1 ABC q 123 1 #+= [ 123 : ABC q", "1q1[:q", Qt::ImhDigitsOnly);
    row("page turns under a finger", "1+123 2+q 1- 2-", "1");
    row("page keeps shift", "ABC Shift Shift 123 1 ABC q", "1Q", Qt::ImhDigitsOnly);
    row("held Backspace", "1+Backspace rep rep 1-", "<<");
    row("held Backspace beside another finger", "1+Backspace rep 2+q 1- 2-", "<q");
    row("held and slid off", "1+Backspace rep 1>q rep 1-", "<");
}

void KeyboardStateTest::scenes()
{
    QFETCH(QString, scene);
    QFETCH(Qt::InputMethodHint, field);
    KeyboardState keys({480, 150}, DoubleTapInterval);
    keys.open(field);
    QTEST(Scene(keys).play(scene), "typed");
    QCOMPARE(keys.held(), -1);
}

void KeyboardStateTest::openStartsOver()
{
    KeyboardState keys({480, 150}, DoubleTapInterval);
    Scene(keys).play("Shift Shift 1+q");
    QVERIFY(keys.held() != -1);
    keys.open(Qt::ImhDigitsOnly);
    QCOMPARE(keys.held(), -1);
    QCOMPARE(keys.shift(), Shift::Off);
    QCOMPARE(Scene(keys).play("1"), QStringLiteral("1"));
}

/** Check that the keys of each page cover the keyboard without gaps, also at the edges of the
 * panel. Each page has one key for Backspace, Enter and Hide. */
void KeyboardStateTest::keysFillThePanel()
{
    const QList<std::pair<QSize, QSize>> smallestKeys{{{480, 272}, {48, 37}},
                                                      {{800, 480}, {80, 62}},
                                                      {{1280, 800}, {128, 100}},
                                                      {{1023, 333}, {102, 46}}};
    for (const auto &[panel, smallest] : smallestKeys) {
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
}

QTEST_APPLESS_MAIN(KeyboardStateTest)
#include "tst_keyboardstate.moc"
