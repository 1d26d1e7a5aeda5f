#include "onscreenkeyboard.h"

#include <QApplication>
#include <QInputMethod>
#include <QLineEdit>
#include <QPointerEvent>
#include <QWindow>

namespace
{

constexpr int RoomBelowField = 4; // pixels between a field and the keys

QInputMethod &inputMethod()
{
    return *QGuiApplication::inputMethod();
}

bool isOpeningDialog(const QObject *watched, const QEvent *event)
{
    if (event->type() != QEvent::Show || !watched->isWidgetType())
        return false;
    const auto *widget = static_cast<const QWidget *>(watched);
    return widget->isWindow() && widget->isModal();
}

} // namespace

OnScreenKeyboard::OnScreenKeyboard(QWindow &keys) : m_keys(keys)
{
    qApp->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, &OnScreenKeyboard::settle);
    connect(&inputMethod(), &QInputMethod::visibleChanged, this, &OnScreenKeyboard::settle);
}

bool OnScreenKeyboard::eventFilter(QObject *watched, QEvent *event)
{
    if (event->isPointerEvent() && watched->isWindowType()) {
        const auto *pointer = static_cast<QPointerEvent *>(event);
        if (pointer->isBeginEvent())
            m_fingerDown = true;
        if (pointer->isEndEvent() || event->type() == QEvent::TouchCancel) {
            m_fingerDown = false;
            settleSoon();
        }
    } else if (event->type() == QEvent::MouseButtonPress) {
        if (auto *edit = qobject_cast<QLineEdit *>(watched))
            m_edit = edit;
    } else if (isOpeningDialog(watched, event)) {
        putAway(); // Before the dialog finds its place over its parent.
    }
    return QObject::eventFilter(watched, event);
}

bool OnScreenKeyboard::isWanted() const
{
    return inputMethod().isVisible() && m_edit != nullptr && m_edit == QApplication::focusWidget();
}

void OnScreenKeyboard::settle()
{
    if (m_fingerDown)
        return;
    if (isWanted())
        bringUp();
    else
        putAway();
}

void OnScreenKeyboard::settleSoon()
{
    QMetaObject::invokeMethod(this, &OnScreenKeyboard::settle, Qt::QueuedConnection);
}

void OnScreenKeyboard::bringUp()
{
    QWidget *window = m_edit->window();
    const QPoint rest = window == m_lifted ? m_rest : window->pos();
    const QPoint top = rest + m_edit->mapTo(window, QPoint(0, 0));
    const int missing = top.y() + m_edit->height() + RoomBelowField - m_keys.y();
    lift(window, qMax(0, missing));
    if (m_keys.isVisible())
        return;
    m_keys.setTransientParent(window->windowHandle()); // Closing that one closes the program.
    m_keys.show();
    m_guard.refuse(m_keys.geometry());
}

void OnScreenKeyboard::putAway()
{
    m_edit = nullptr;
    lift(nullptr, 0);
    if (m_keys.isVisible()) {
        m_keys.hide();
        m_guard.refuse(m_keys.geometry());
    }
    inputMethod().hide();
}

void OnScreenKeyboard::lift(QWidget *window, int shift)
{
    if (m_lifted != window && m_lifted != nullptr)
        move(*m_lifted, m_rest);
    if (m_lifted != window && window != nullptr)
        m_rest = window->pos();
    m_lifted = window;
    if (window != nullptr)
        move(*window, m_rest - QPoint(0, shift));
}

void OnScreenKeyboard::move(QWidget &window, const QPoint &position)
{
    if (window.pos() == position)
        return;
    window.move(position);
    QRegion seen = window.geometry();
    if (m_keys.isVisible())
        seen -= m_keys.geometry(); // The keys have not moved.
    m_guard.refuse(seen);
}
