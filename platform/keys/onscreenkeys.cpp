#include "platform/keys/onscreenkeys.h"

#include "platform/keys/keyswindow.h"

#include <QApplication>
#include <QLineEdit>
#include <QMouseEvent>
#include <QScreen>
#include <QTouchEvent>

#include <algorithm>

namespace
{

constexpr int RoomBelowField = 4; // pixels between a field and the keyboard

bool isOpeningDialog(const QObject *watched, const QEvent *event)
{
    if (event->type() != QEvent::Show || !watched->isWidgetType())
        return false;
    const auto *widget = static_cast<const QWidget *>(watched);
    return widget->isWindow() && widget->isModal();
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

OnScreenKeys::OnScreenKeys(QObject *parent) : QObject(parent) {}

OnScreenKeys::~OnScreenKeys() = default;

void OnScreenKeys::activate()
{
    m_flashTime = QApplication::cursorFlashTime();
    QApplication::setCursorFlashTime(0); // A blinking text cursor wakes an idle board.
    qApp->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, &OnScreenKeys::settle);
    // Delete the window before QApplication.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        putAway();
        m_keys.reset();
    });
}

bool OnScreenKeys::eventFilter(QObject *watched, QEvent *event)
{
    if (event->isPointerEvent() && watched->isWindowType())
        return pointed(static_cast<QWindow *>(watched), static_cast<QPointerEvent *>(event));
    if (isButton(event)) {
        if (auto *edit = qobject_cast<QLineEdit *>(watched))
            touched(edit, static_cast<QMouseEvent *>(event));
    } else if (isOpeningDialog(watched, event)) {
        putAway(); // Move the parent back before the dialog is placed over it.
    }
    return false;
}

/** Track which windows are touched. @return true when TouchGuard rejects the event */
bool OnScreenKeys::pointed(QWindow *window, QPointerEvent *event)
{
    const bool ends = event->isEndEvent() || event->type() == QEvent::TouchCancel;
    if (isTouch(event)) {
        m_touched.removeAll(window);
        if (!ends)
            m_touched.append(window);
    } else if (isButton(event)) {
        m_buttonDown = !ends;
    }
    if (ends)
        settleSoon();
    if (!m_guard.refuses(*event))
        return false;
    event->accept(); // Qt would send an unaccepted touch again, as a mouse press.
    return true;
}

void OnScreenKeys::touched(QLineEdit *edit, const QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || edit->isReadOnly())
        return;
    m_edit = edit;
    if (event->isEndEvent() && edit->rect().contains(event->position().toPoint()))
        m_wanted = true;
}

bool OnScreenKeys::isFingerDown() const
{
    return m_buttonDown ||
           std::any_of(m_touched.cbegin(), m_touched.cend(), [](const QPointer<QWindow> &window) {
               return window != nullptr && window->isVisible();
           });
}

bool OnScreenKeys::isWanted() const
{
    return m_wanted && m_edit != nullptr && m_edit == QApplication::focusWidget();
}

void OnScreenKeys::settle()
{
    if (isFingerDown())
        return;
    if (isWanted())
        bringUp();
    else
        putAway();
}

void OnScreenKeys::settleSoon()
{
    QMetaObject::invokeMethod(this, &OnScreenKeys::settle, Qt::QueuedConnection);
}

void OnScreenKeys::makeWindow()
{
    m_keys = std::make_unique<KeysWindow>(QGuiApplication::primaryScreen()->geometry());
    connect(m_keys.get(), &KeysWindow::typed, this, &OnScreenKeys::type);
    connect(m_keys.get(), &KeysWindow::hideTouched, this, [this] { m_wanted = false; });
}

void OnScreenKeys::bringUp()
{
    if (m_keys == nullptr)
        makeWindow();
    QWidget *window = m_edit->window();
    const QPoint rest = window == m_lifted ? m_rest : window->pos();
    const QPoint top = rest + m_edit->mapTo(window, QPoint(0, 0));
    const int missing = top.y() + m_edit->height() + RoomBelowField - m_keys->y();
    lift(window, qMax(0, missing));
    if (m_opened != m_edit)
        m_keys->open(keylayout::firstPage(m_edit->inputMethodHints()));
    m_opened = m_edit;
    if (m_keys->isVisible())
        return;
    QApplication::setCursorFlashTime(m_flashTime);
    m_keys->show();
    m_guard.refuse(m_keys->geometry());
}

void OnScreenKeys::putAway()
{
    m_edit = nullptr;
    m_wanted = false;
    m_opened = nullptr;
    lift(nullptr, 0);
    if (m_keys == nullptr || !m_keys->isVisible())
        return;
    QApplication::setCursorFlashTime(0);
    m_keys->hide();
    m_guard.refuse(m_keys->geometry());
}

/** Send key events as a hardware keyboard does. After Enter, ignore further keys. */
void OnScreenKeys::type(Qt::Key key, const QString &text)
{
    if (!isWanted())
        return;
    const QPointer<QLineEdit> edit = m_edit;
    for (QEvent::Type kind : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(kind, key, Qt::NoModifier, text);
        if (edit != nullptr)
            QCoreApplication::sendEvent(edit, &event);
    }
    if (key == Qt::Key_Return)
        m_wanted = false;
}

void OnScreenKeys::lift(QWidget *window, int shift)
{
    if (m_lifted != window && m_lifted != nullptr)
        move(*m_lifted, m_rest);
    if (m_lifted != window && window != nullptr)
        m_rest = window->pos();
    m_lifted = window;
    if (window != nullptr)
        move(*window, m_rest - QPoint(0, shift));
}

void OnScreenKeys::move(QWidget &window, const QPoint &position)
{
    if (window.pos() == position)
        return;
    window.move(position);
    QRegion seen = window.geometry();
    if (m_keys != nullptr && m_keys->isVisible())
        seen -= m_keys->geometry(); // The keyboard window has not moved.
    m_guard.refuse(seen);
}
