#include "platform/keyboard/keyboardwindow.h"

#include <QBackingStore>
#include <QExposeEvent>
#include <QGuiApplication>
#include <QPainter>
#include <QStyleHints>
#include <QtMath>

#include <malloc.h>

using keyboardlayout::Action;
using keyboardlayout::Shift;

namespace
{

// Qt::ToolTip: no platform gives such a window the focus. The program exits when its last window is
// closed, and Qt does not count such windows.
constexpr Qt::WindowFlags Flags =
    Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus;
constexpr int MouseFinger = -1; // IDs of touch points start at 0.
constexpr std::chrono::milliseconds RepeatDelay{600};
constexpr std::chrono::milliseconds RepeatInterval{50};

std::chrono::milliseconds now()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch());
}

/** Return the pixel that contains a point. */
QPoint pixel(const QPointF &point)
{
    return {qFloor(point.x()), qFloor(point.y())};
}

Qt::Key keyCode(const keyboardlayout::Key &key)
{
    switch (key.action) {
    case Action::Backspace:
        return Qt::Key_Backspace;
    case Action::Enter:
        return Qt::Key_Return;
    default:
        // Qt's key codes of ASCII characters are their ASCII codes.
        return Qt::Key(key.name.front().toUpper().unicode());
    }
}

} // namespace

KeyboardWindow::KeyboardWindow(const QRect &panel)
    : m_keys(keyboardlayout::size(panel.size()),
             std::chrono::milliseconds(QGuiApplication::styleHints()->mouseDoubleClickInterval())),
      m_painter(keyboardlayout::size(panel.size()).height())
{
    setFlags(Flags);
    connect(&m_repeat, &QTimer::timeout, this, &KeyboardWindow::repeat);
    const QSize size = keyboardlayout::size(panel.size());
    setGeometry(QRect(panel.bottomLeft() - QPoint(0, size.height() - 1), size));
}

KeyboardWindow::~KeyboardWindow() = default;

void KeyboardWindow::open(Qt::InputMethodHints hints)
{
    m_keys.open(hints);
    paint(QRect(QPoint(0, 0), size()));
    repaintChanges();
}

void KeyboardWindow::exposeEvent(QExposeEvent *)
{
    if (isExposed())
        paint(QRect(QPoint(0, 0), size()));
}

void KeyboardWindow::hideEvent(QHideEvent *)
{
    m_keys.cancel();
    m_repeat.stop();
    m_backingStore.reset();
#ifdef __GLIBC__
    malloc_trim(0); // glibc would keep the freed backing store; return it to the system.
#endif
}

void KeyboardWindow::touchEvent(QTouchEvent *event)
{
    if (event->type() == QEvent::TouchCancel)
        m_keys.cancel();
    for (const QEventPoint &point : event->points()) {
        if (point.state() == QEventPoint::Pressed)
            press(point.id(), point.position());
        else if (point.state() == QEventPoint::Updated)
            move(point.id(), point.position());
        else if (point.state() == QEventPoint::Released)
            release(point.id(), point.position());
    }
    repaintChanges();
    event->accept(); // Qt would send an unaccepted touch again, as a mouse press.
}

void KeyboardWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        press(MouseFinger, event->position());
}

void KeyboardWindow::mouseMoveEvent(QMouseEvent *event)
{
    move(MouseFinger, event->position());
}

void KeyboardWindow::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        release(MouseFinger, event->position());
}

QVariantList KeyboardWindow::keysForInspection() const
{
    QVariantList list;
    for (const keyboardlayout::Key &key : m_keys.keys())
        list.append(QVariantMap{{QStringLiteral("text"), key.name},
                                {QStringLiteral("rect"), key.rect},
                                {QStringLiteral("upper"), m_keys.shift() != Shift::Off},
                                {QStringLiteral("locked"), m_keys.shift() == Shift::Locked}});
    return list;
}

void KeyboardWindow::press(int finger, const QPointF &at)
{
    deliver(m_keys.press(finger, pixel(at), now()));
}

void KeyboardWindow::move(int finger, const QPointF &at)
{
    m_keys.move(finger, pixel(at));
    repaintChanges();
}

void KeyboardWindow::release(int finger, const QPointF &at)
{
    deliver(m_keys.release(finger, pixel(at), now()));
}

void KeyboardWindow::repeat()
{
    m_repeat.start(RepeatInterval);
    deliver(m_keys.autoRepeat());
}

/** Repaint the keys, then emit a typed key, so that feedback does not wait for the field. */
void KeyboardWindow::deliver(const KeyboardState::Result &result)
{
    repaintChanges();
    if (!result)
        return;
    if (result->action == Action::Hide)
        emit hideRequested();
    else
        emit keyTyped(keyCode(*result),
                      result->action == Action::Character ? result->name : QString());
}

/** Repaint the keys that changed, and start or stop the auto-repeat of Backspace. */
void KeyboardWindow::repaintChanges()
{
    const int held = m_keys.held();
    QRegion changed;
    if (m_keys.page() != m_shownPage || m_keys.shift() != m_shownShift) {
        changed = QRect(QPoint(0, 0), size());
    } else if (held != m_shownHeld) {
        for (int at : {held, m_shownHeld})
            changed += at == -1 ? QRect() : m_keys.keys()[at].rect;
    }
    if (!changed.isEmpty())
        paint(changed);
    if (held == -1 || m_keys.keys()[held].action != Action::Backspace)
        m_repeat.stop();
    else if (!m_repeat.isActive())
        m_repeat.start(RepeatDelay);
}

void KeyboardWindow::paint(const QRegion &region)
{
    m_shownPage = m_keys.page();
    m_shownShift = m_keys.shift();
    m_shownHeld = m_keys.held();
    if (!isExposed())
        return;
    QRegion due = region;
    if (m_backingStore == nullptr) {
        m_backingStore = std::make_unique<QBackingStore>(this);
        m_backingStore->resize(size());
        due = QRect(QPoint(0, 0), size());
    }
    m_backingStore->beginPaint(due);
    {
        QPainter painter(m_backingStore->paintDevice());
        const QList<keyboardlayout::Key> &keys = m_keys.keys();
        for (const QRect &rect : due)
            KeyPainter::paintGap(painter, rect);
        for (int at = 0; at < keys.size(); ++at) {
            if (due.intersects(keys[at].rect))
                m_painter.paint(painter, keys[at], m_shownShift, at == m_shownHeld);
        }
    }
    m_backingStore->endPaint();
    m_backingStore->flush(due);
}
