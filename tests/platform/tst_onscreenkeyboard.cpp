// The on-screen keys over a window with fields: touches on one side, what the fields hold on the
// other.
#include "platform/keyboard/keyboardwindow.h"
#include "platform/keyboard/onscreenkeyboard.h"

#include <QtTest>
#include <QtWidgets>

class OnScreenKeyboardTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void nothingBeforeATouch();
    void typesAsAKeyboardDoes();
    void fingersOverlap();
    void mouse();
    void heldBackspaceRepeats();
    void paintsTheHeldKeyAlone();
    void nothingMovesUnderAFinger();
    void anotherFieldHasItsOwnPage();
    void caretBlinksWithTheKeysAlone();

private:
    KeyboardWindow *keys() const;
    QPoint key(const QString &name) const;
    void touch(const QString &names);
    void touchField(QLineEdit *edit);

    std::unique_ptr<QPointingDevice> m_screen{QTest::createTouchDevice()};
    std::unique_ptr<QWidget> m_window;
    QLineEdit *m_text = nullptr;
    QLineEdit *m_number = nullptr;
    std::unique_ptr<OnScreenKeyboard> m_watch;
};

void OnScreenKeyboardTest::initTestCase()
{
    QGuiApplication::styleHints()->setMouseDoubleClickInterval(50); // for which touches are refused
}

void OnScreenKeyboardTest::init()
{
    QApplication::setCursorFlashTime(1000);
    m_watch = std::make_unique<OnScreenKeyboard>();
    m_watch->activate();
    m_window = std::make_unique<QWidget>(nullptr, Qt::FramelessWindowHint);
    m_window->setGeometry(QGuiApplication::primaryScreen()->geometry());
    m_text = new QLineEdit(m_window.get());
    m_number = new QLineEdit(m_window.get());
    m_number->setInputMethodHints(Qt::ImhDigitsOnly);
    m_text->move(10, m_window->height() - 50);
    m_number->move(10, m_window->height() - 250);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
}

void OnScreenKeyboardTest::cleanup()
{
    m_watch.reset();
    m_window.reset();
}

KeyboardWindow *OnScreenKeyboardTest::keys() const
{
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        auto *keys = qobject_cast<KeyboardWindow *>(window);
        if (keys != nullptr && keys->isVisible())
            return keys;
    }
    return nullptr;
}

QPoint OnScreenKeyboardTest::key(const QString &name) const
{
    for (const QVariant &described : keys()->property("keys").toList()) {
        if (described.toMap().value("text") == name)
            return described.toMap().value("rect").toRect().center();
    }
    qFatal("no key %s", qPrintable(name));
}

void OnScreenKeyboardTest::touch(const QString &names)
{
    for (const QString &name : names.split(' ')) {
        QTest::touchEvent(keys(), m_screen.get()).press(0, key(name));
        QTest::touchEvent(keys(), m_screen.get()).release(0, key(name));
    }
}

void OnScreenKeyboardTest::touchField(QLineEdit *edit)
{
    const QPoint at = edit->mapTo(m_window.get(), edit->rect().center());
    QTest::touchEvent(m_window->windowHandle(), m_screen.get()).press(0, at);
    QTest::touchEvent(m_window->windowHandle(), m_screen.get()).release(0, at);
    QTRY_VERIFY(keys() != nullptr);
    // Until touches are no longer refused, however long a turn of the event loop takes.
    for (int turn = 0; turn < 3; ++turn)
        QTest::qWait(55);
}

void OnScreenKeyboardTest::nothingBeforeATouch()
{
    m_text->setFocus();
    QTest::qWait(20);
    QVERIFY(keys() == nullptr);
    QCOMPARE(QGuiApplication::topLevelWindows().size(), 1);
    m_text->setReadOnly(true);
    QTest::mouseClick(m_text, Qt::LeftButton);
    QTest::qWait(20);
    QVERIFY(keys() == nullptr);
}

void OnScreenKeyboardTest::typesAsAKeyboardDoes()
{
    m_text->setMaxLength(4);
    m_text->setValidator(new QRegularExpressionValidator(QRegularExpression("[^x]*"), m_text));
    QSignalSpy edited(m_text, &QLineEdit::textEdited);
    QSignalSpy returned(m_text, &QLineEdit::returnPressed);
    touchField(m_text);
    touch("Shift a x b 123 1 @ : Backspace");
    QCOMPARE(m_text->text(), QStringLiteral("Ab1"));
    QCOMPARE(edited.size(), 5);
    touch("%");
    QCOMPARE(m_text->text(), QStringLiteral("Ab1%"));
    m_text->undo();
    QCOMPARE(m_text->text(), QStringLiteral("Ab1"));
    touch("Enter");
    QCOMPARE(returned.size(), 1);
    QTRY_VERIFY(keys() == nullptr);
}

void OnScreenKeyboardTest::fingersOverlap()
{
    touchField(m_text);
    KeyboardWindow *window = keys();
    QTest::touchEvent(window, m_screen.get()).press(0, key("q"));
    QTest::touchEvent(window, m_screen.get()).stationary(0).press(1, key("w"));
    QTest::touchEvent(window, m_screen.get()).release(0, key("q")).stationary(1);
    QTest::touchEvent(window, m_screen.get()).press(0, key("e")).move(1, key("w") + QPoint(2, 2));
    QTest::touchEvent(window, m_screen.get()).move(0, key("t")).release(1, key("w"));
    QTest::touchEvent(window, m_screen.get()).release(0, key("t"));
    QTest::touchEvent(window, m_screen.get()).press(0, key("r")).press(1, key("y"));
    QTest::touchEvent(window, m_screen.get()).release(0, key("r")).release(1, key("y"));
    QCOMPARE(m_text->text(), QStringLiteral("qwry"));
}

void OnScreenKeyboardTest::mouse()
{
    touchField(m_text);
    for (const char *name : {"q", "q", "w"})
        QTest::mouseClick(keys(), Qt::LeftButton, {}, key(name));
    QTest::mousePress(keys(), Qt::LeftButton, {}, key("e"));
    QTest::mouseMove(keys(), key("t"));
    QTest::mouseRelease(keys(), Qt::LeftButton, {}, key("t"));
    QTest::mouseClick(keys(), Qt::RightButton, {}, key("r"));
    QCOMPARE(m_text->text(), QStringLiteral("qqw"));
}

void OnScreenKeyboardTest::heldBackspaceRepeats()
{
    m_text->setText("0123456789");
    touchField(m_text);
    m_text->end(false);
    QTest::touchEvent(keys(), m_screen.get()).press(0, key("Backspace"));
    QTRY_COMPARE_WITH_TIMEOUT(m_text->text().size(), 7, 3000);
    QTest::touchEvent(keys(), m_screen.get()).release(0, key("Backspace"));
    const QString left = m_text->text();
    QTest::qWait(200);
    QCOMPARE(m_text->text(), left);
}

void OnScreenKeyboardTest::paintsTheHeldKeyAlone()
{
    touchField(m_text);
    const QRect place = keys()->geometry();
    const auto picture = [&place] {
        return QGuiApplication::primaryScreen()->grabWindow(0).toImage().copy(place);
    };
    const QImage before = picture();
    QTest::touchEvent(keys(), m_screen.get()).press(0, key("g"));
    const QImage held = picture(); // at once: no event has been served since
    QRegion changed;
    for (int y = 0; y < before.height(); ++y) {
        for (int x = 0; x < before.width(); ++x) {
            if (before.pixel(x, y) != held.pixel(x, y))
                changed += QRect(x, y, 1, 1);
        }
    }
    const QRect at = changed.boundingRect();
    QVERIFY2(!at.isEmpty() && at.contains(key("g")), "the key looks as before");
    QVERIFY(!at.contains(key("f")) && !at.contains(key("v")) && !at.contains(key("h")));
    QTest::touchEvent(keys(), m_screen.get()).release(0, key("g"));
    QCOMPARE(picture(), before);
}

void OnScreenKeyboardTest::nothingMovesUnderAFinger()
{
    touchField(m_text);
    const QPoint lifted = m_window->pos();
    QVERIFY(lifted.y() < 0);
    QVERIFY(m_window->y() + m_text->geometry().bottom() < keys()->y());
    // Another finger sends the focus elsewhere meanwhile.
    QTest::touchEvent(keys(), m_screen.get()).press(0, key("q"));
    m_number->setFocus();
    QTest::mouseClick(m_number, Qt::LeftButton);
    QTest::qWait(20);
    QVERIFY(keys() != nullptr);
    QCOMPARE(m_window->pos(), lifted);
    QTest::touchEvent(keys(), m_screen.get()).release(0, key("q"));
    QTRY_VERIFY(m_window->y() > lifted.y());
    QCOMPARE(m_text->text() + m_number->text(), QStringLiteral("q"));
}

void OnScreenKeyboardTest::anotherFieldHasItsOwnPage()
{
    touchField(m_text);
    touch("123");
    touchField(m_number);
    touch("1 ABC");
    touchField(m_number); // the same one again: its page stays
    touch("q Hide");
    QTRY_VERIFY(keys() == nullptr);
    QTest::qWait(100);
    touchField(m_text);
    touch("w");
    QCOMPARE(m_number->text(), QStringLiteral("1q"));
    QCOMPARE(m_text->text(), QStringLiteral("w"));
}

void OnScreenKeyboardTest::caretBlinksWithTheKeysAlone()
{
    QCOMPARE(QApplication::cursorFlashTime(), 0);
    touchField(m_text);
    QVERIFY(QApplication::cursorFlashTime() > 0);
    touch("Hide");
    QTRY_VERIFY(keys() == nullptr);
    QCOMPARE(QApplication::cursorFlashTime(), 0);
    QVERIFY(m_text->hasFocus());
}

QTEST_MAIN(OnScreenKeyboardTest)
#include "tst_onscreenkeyboard.moc"
