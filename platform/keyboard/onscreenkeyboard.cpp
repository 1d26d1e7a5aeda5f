#include "platform/keyboard/onscreenkeyboard.h"

#include "platform/keyboard/keyboardwindow.h"

#include <QApplication>
#include <QLineEdit>
#include <QMouseEvent>
#include <QScreen>
#include <QTouchEvent>

#include <algorithm>

namespace
{

constexpr int FieldMargin = 4; // pixels between a field and the keyboard

/** Return the window that an event shows or hides, or null. */
const QWidget *changedWindow(const QObject *watched, const QEvent *event)
{
    if ((event->type() != QEvent::Show && event->type() != QEvent::Hide) ||
        !watched->isWidgetType())
        return nullptr;
    const auto *widget = static_cast<const QWidget *>(watched);
    return widget->isWindow() ? widget : nullptr;
}

/** Return the next enabled line edit of the page in tab order, or null after the last one. */
QLineEdit *nextEdit(const QLineEdit *edit)
{
    for (QWidget *next = edit->nextInFocusChain(); next != edit->window();
         next = next->nextInFocusChain()) {
        auto *found = qobject_cast<QLineEdit *>(next);
        if (found != nullptr && found->isVisible() && found->isEnabled() && !found->isReadOnly())
            return found;
    }
    return nullptr;
}

bool isTouch(const QEvent *event)
{
    return event->type() == QEvent::TouchBegin || event->type() == QEvent::TouchUpdate ||
           event->type() == QEvent::TouchEnd || event->type() == QEvent::TouchCancel;
}

bool isButton(const QEvent *event)
{
    return event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonRelease;
}

} // namespace

OnScreenKeyboard::OnScreenKeyboard(QObject *parent) : QObject(parent) {}

OnScreenKeyboard::~OnScreenKeyboard() = default;

void OnScreenKeyboard::activate()
{
    m_cursorFlashTime = QApplication::cursorFlashTime();
    QApplication::setCursorFlashTime(0); // A blinking text cursor wakes an idle board.
    qApp->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, &OnScreenKeyboard::updateVisibility);
    // Delete the window before QApplication.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        hideKeyboard();
        m_keys.reset();
    });
}

bool OnScreenKeyboard::eventFilter(QObject *watched, QEvent *event)
{
    if (event->isPointerEvent() && watched->isWindowType())
        return handlePointerEvent(static_cast<QWindow *>(watched),
                                  static_cast<QPointerEvent *>(event));
    if (isButton(event)) {
        if (auto *edit = qobject_cast<QLineEdit *>(watched))
            handleEditTouch(edit, static_cast<QMouseEvent *>(event));
    } else if (const QWidget *window = changedWindow(watched, event)) {
        if (window->isModal() && event->type() == QEvent::Show)
            hideKeyboard(); // Move the parent back before the dialog is placed over it.
        m_debouncer.block(window->geometry());
    }
    return false;
}

/** Track which windows are touched. @return true when TouchDebouncer rejects the event */
bool OnScreenKeyboard::handlePointerEvent(QWindow *window, QPointerEvent *event)
{
    const bool ends = event->isEndEvent() || event->type() == QEvent::TouchCancel;
    if (isTouch(event)) {
        m_touchedWindows.removeAll(window);
        if (!ends)
            m_touchedWindows.append(window);
    } else if (isButton(event)) {
        m_buttonDown = !ends;
    }
    if (ends)
        scheduleUpdate();
    if (!m_debouncer.filters(*event))
        return false;
    event->accept(); // Qt would send an unaccepted touch again, as a mouse press.
    return true;
}

void OnScreenKeyboard::handleEditTouch(QLineEdit *edit, const QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || edit->isReadOnly())
        return;
    m_edit = edit;
    if (event->isEndEvent() && edit->rect().contains(event->position().toPoint()))
        m_keyboardRequested = true;
}

bool OnScreenKeyboard::isFingerDown() const
{
    return m_buttonDown || std::any_of(m_touchedWindows.cbegin(), m_touchedWindows.cend(),
                                       [](const QPointer<QWindow> &window) {
                                           return window != nullptr && window->isVisible();
                                       });
}

bool OnScreenKeyboard::isWanted() const
{
    return m_keyboardRequested && m_edit != nullptr && m_edit == QApplication::focusWidget();
}

void OnScreenKeyboard::updateVisibility()
{
    if (isFingerDown())
        return;
    if (isWanted())
        showKeyboard();
    else
        hideKeyboard();
}

void OnScreenKeyboard::scheduleUpdate()
{
    QMetaObject::invokeMethod(this, &OnScreenKeyboard::updateVisibility, Qt::QueuedConnection);
}

void OnScreenKeyboard::createWindow()
{
    m_keys = std::make_unique<KeyboardWindow>(QGuiApplication::primaryScreen()->geometry());
    connect(m_keys.get(), &KeyboardWindow::keyTyped, this, &OnScreenKeyboard::sendKey);
    connect(m_keys.get(), &KeyboardWindow::hideRequested, this,
            [this] { m_keyboardRequested = false; });
}

void OnScreenKeyboard::showKeyboard()
{
    if (m_keys == nullptr)
        createWindow();
    QWidget *window = m_edit->window();
    const QPoint rest = window == m_shiftedWindow ? m_originalPosition : window->pos();
    const QPoint top = rest + m_edit->mapTo(window, QPoint(0, 0));
    const int missing = top.y() + m_edit->height() + FieldMargin - m_keys->y();
    shiftWindow(window, qMax(0, missing));
    if (m_pageOwner != m_edit)
        m_keys->open(m_edit->inputMethodHints());
    m_pageOwner = m_edit;
    if (m_keys->isVisible())
        return;
    QApplication::setCursorFlashTime(m_cursorFlashTime);
    m_keys->show();
    m_debouncer.block(m_keys->geometry());
}

void OnScreenKeyboard::hideKeyboard()
{
    m_edit = nullptr;
    m_keyboardRequested = false;
    m_pageOwner = nullptr;
    shiftWindow(nullptr, 0);
    if (m_keys == nullptr || !m_keys->isVisible())
        return;
    QApplication::setCursorFlashTime(0);
    m_keys->hide();
    m_debouncer.block(m_keys->geometry());
}

/** Send key events as a hardware keyboard does. Enter moves to the next field; after the last one,
 *  ignore further keys. */
void OnScreenKeyboard::sendKey(Qt::Key key, const QString &text)
{
    for (QEvent::Type kind : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(kind, key, Qt::NoModifier, text);
        if (isWanted()) // false once the press has moved the focus or deleted the edit
            QCoreApplication::sendEvent(m_edit, &event);
    }
    if (key != Qt::Key_Return || !isWanted())
        return;
    m_edit = nextEdit(m_edit);
    m_keyboardRequested = m_edit != nullptr;
    if (m_keyboardRequested)
        m_edit->setFocus(); // Not Qt::TabFocusReason, which selects the text.
}

void OnScreenKeyboard::shiftWindow(QWidget *window, int shift)
{
    if (m_shiftedWindow != window && m_shiftedWindow != nullptr)
        move(*m_shiftedWindow, m_originalPosition);
    if (m_shiftedWindow != window && window != nullptr)
        m_originalPosition = window->pos();
    m_shiftedWindow = window;
    if (window != nullptr)
        move(*window, m_originalPosition - QPoint(0, shift));
}

void OnScreenKeyboard::move(QWidget &window, const QPoint &position)
{
    if (window.pos() == position)
        return;
    window.move(position);
    QRegion seen = window.geometry();
    if (m_keys != nullptr && m_keys->isVisible())
        seen -= m_keys->geometry(); // The keyboard window has not moved.
    m_debouncer.block(seen);
}
