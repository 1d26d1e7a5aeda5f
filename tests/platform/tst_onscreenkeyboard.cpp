// The on-screen keyboard over a window with fields and buttons: touches and their effects.
#include "platform/keyboard/keyboardwindow.h"
#include "platform/keyboard/onscreenkeyboard.h"

#include <QtTest>
#include <QtWidgets>

class OnScreenKeyboardTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void enterOpensTheNextField();
    void fingersOverlap();
    void heldBackspaceRepeats();
    void paintsTheHeldKeyOnly();
    void nothingMovesUnderAFinger();
    void buttonsWaitASecond();
    void otherWidgetsIgnoreDoubleTaps();

private:
    KeyboardWindow *keys() const;
    QPoint key(const QString &name) const;
    void tap(QWindow *window, const QPoint &at);
    void tap(QWidget *widget) { tap(m_window->windowHandle(), widget->geometry().center()); }
    void touch(const QString &names);
    void touchField(QLineEdit *edit);

    std::unique_ptr<QPointingDevice> m_screen{QTest::createTouchDevice()};
    std::unique_ptr<QWidget> m_window;
    QLineEdit *m_text = nullptr;
    QLineEdit *m_number = nullptr;
    QPushButton *m_exit = nullptr; // under the keyboard
    int m_exits = 0;
    std::unique_ptr<OnScreenKeyboard> m_watch;
};

void OnScreenKeyboardTest::init()
{
    QApplication::setCursorFlashTime(1000);
    m_watch = std::make_unique<OnScreenKeyboard>();
    m_watch->activate();
    m_window = std::make_unique<QWidget>(nullptr, Qt::FramelessWindowHint);
    m_window->setGeometry(QGuiApplication::primaryScreen()->geometry());
    const QSize size = m_window->size();
    m_text = new QLineEdit(m_window.get());
    m_text->move(300, size.height() - 50);
    m_number = new QLineEdit(m_window.get());
    m_number->setInputMethodHints(Qt::ImhDigitsOnly);
    m_number->move(10, size.height() - 350);
    m_exit = new QPushButton(m_window.get());
    m_exit->setGeometry(size.width() / 2, size.height() - 50, 100, 50);
    m_exits = 0;
    connect(m_exit, &QPushButton::clicked, this, [this] { ++m_exits; });
    m_window->show();
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

void OnScreenKeyboardTest::tap(QWindow *window, const QPoint &at)
{
    QTest::touchEvent(window, m_screen.get()).press(0, at);
    QTest::touchEvent(window, m_screen.get()).release(0, at);
}

void OnScreenKeyboardTest::touch(const QString &names)
{
    for (const QString &name : names.split(' '))
        tap(keys(), key(name));
}

void OnScreenKeyboardTest::touchField(QLineEdit *edit)
{
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    QTest::qWait(50); // all touches are ignored just after the window is shown
    tap(edit);
    QTRY_VERIFY(keys() != nullptr);
    QTest::qWait(50);
}

void OnScreenKeyboardTest::enterOpensTheNextField()
{
    m_number->setText("47");
    QSignalSpy returned(m_text, &QLineEdit::returnPressed);
    QCOMPARE(QApplication::cursorFlashTime(), 0); // a blinking cursor wakes an idle board
    touchField(m_text);
    QVERIFY(QApplication::cursorFlashTime() > 0);
    touch("w Enter");
    QCOMPARE(returned.size(), 1);
    QTRY_COMPARE(m_window->y(), 0); // the second field is visible without a move
    QTest::qWait(50);               // all touches are ignored just after the move
    touch("1 ABC q");               // the second field opens the digits page
    // Without a wait, the touches of the field and of Enter would complete double taps.
    QTest::qWait(QApplication::doubleClickInterval());
    touchField(m_number);
    touch("e"); // still on the page of letters
    QTest::qWait(QApplication::doubleClickInterval());
    touch("Enter");
    QTRY_VERIFY(keys() == nullptr);
    QCOMPARE(QApplication::cursorFlashTime(), 0);
    QCOMPARE(m_text->text(), QStringLiteral("w"));
    QCOMPARE(m_number->text(), QStringLiteral("471qe"));
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

void OnScreenKeyboardTest::paintsTheHeldKeyOnly()
{
    touchField(m_text);
    const QRect place = keys()->geometry();
    const auto screenshot = [&place] {
        return QGuiApplication::primaryScreen()->grabWindow(0).toImage().copy(place);
    };
    const QImage before = screenshot();
    QTest::touchEvent(keys(), m_screen.get()).press(0, key("g"));
    const QImage held = screenshot(); // immediately, before any event is processed
    QVERIFY2(before.pixel(key("g") + QPoint(0, 20)) != held.pixel(key("g") + QPoint(0, 20)),
             "the key looks as before");
    for (const char *beside : {"f", "h", "v"}) {
        const QRect around = QRect(key(beside) - QPoint(30, 20), QSize(60, 40));
        QCOMPARE(held.copy(around), before.copy(around));
    }
    QTest::touchEvent(keys(), m_screen.get()).release(0, key("g"));
    QCOMPARE(screenshot(), before);
}

void OnScreenKeyboardTest::nothingMovesUnderAFinger()
{
    touchField(m_text);
    const QPoint lifted = m_window->pos();
    QVERIFY(m_window->y() + m_text->geometry().bottom() < keys()->y());
    // During the touch, another finger moves the focus to another widget.
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

void OnScreenKeyboardTest::buttonsWaitASecond()
{
    {
        QDialog notice(m_window.get());
        notice.setModal(true);
        notice.setGeometry(m_window->geometry());
        notice.show();
        QTest::qWait(1200);
    }
    for (const int wait : {0, 20, 500}) { // after the notice is gone
        QTest::qWait(wait);
        tap(m_exit);
        QCOMPARE(m_exits, 0);
    }
    QTest::qWait(1000);
    tap(m_exit);
    QCOMPARE(m_exits, 1);
}

void OnScreenKeyboardTest::otherWidgetsIgnoreDoubleTaps()
{
    tap(m_number); // before the window was painted
    QTest::qWait(100);
    QVERIFY(keys() == nullptr);
    touchField(m_text);
    tap(keys(), m_text->geometry().center() - keys()->position()); // completes a double tap
    QCOMPARE(m_text->text(), QString());
    touch("p"); // at another place
    QCOMPARE(m_text->text(), QStringLiteral("p"));
}

QTEST_MAIN(OnScreenKeyboardTest)
#include "tst_onscreenkeyboard.moc"
