#include "platform/qwsserver.h"

#include "platform/qwsinputmethod.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPointer>
#include <QRasterWindow>
#include <QScreen>
#include <malloc.h>

namespace
{

// Qt::ToolTip: Qt ignores such windows when it decides whether the last window was closed; this one
// is visible until exit.
constexpr Qt::WindowFlags Flags = Qt::ToolTip | Qt::FramelessWindowHint |
                                  Qt::WindowDoesNotAcceptFocus | Qt::WindowStaysOnBottomHint |
                                  Qt::WindowTransparentForInput;

/**
 * The window behind all windows. Without it, Qt clears the framebuffer of a panel that has an alpha
 * channel to transparent, and a lower plane of the display controller shows. Its backing store is
 * as large as the panel: a window that covers the panel replaces it.
 */
class Backdrop : public QRasterWindow
{
public:
    explicit Backdrop(const QBrush &brush) : m_brush(brush)
    {
        setFlags(Flags);
        setGeometry(QGuiApplication::primaryScreen()->geometry());
        QCoreApplication::instance()->installEventFilter(this);
    }

    // glibc would keep the freed backing store.
    ~Backdrop() override { malloc_trim(0); }
    Q_DISABLE_COPY_MOVE(Backdrop)

    void setBrush(const QBrush &brush)
    {
        m_brush = brush;
        update();
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const auto *window = qobject_cast<QWindow *>(watched);
        if (event->type() == QEvent::Expose && window != nullptr && window != this &&
            window->isExposed() && window->geometry().contains(geometry()))
            deleteLater(); // when that window has painted
        return false;
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).fillRect(QRect(QPoint(0, 0), size()), m_brush);
    }

private:
    QBrush m_brush;
};

QPointer<Backdrop> &backdrop()
{
    static QPointer<Backdrop> instance;
    return instance;
}

void removeBackdrop()
{
    delete backdrop();
}

/** Return whether this program is its own display server. */
bool isDisplayServer()
{
    static const QStringList platforms{QStringLiteral("linuxfb"), QStringLiteral("eglfs"),
                                       QStringLiteral("vnc"), QStringLiteral("offscreen")};
    return platforms.contains(QGuiApplication::platformName());
}

} // namespace

void QWSServer::setCurrentInputMethod(QWSInputMethod *method)
{
    if (method != nullptr)
        method->activate();
}

void QWSServer::setBackground(const QBrush &brush)
{
    if (!isDisplayServer() || QGuiApplication::primaryScreen() == nullptr)
        return;
    if (backdrop()) {
        backdrop()->setBrush(brush);
        return;
    }
    backdrop() = new Backdrop(brush);
    qAddPostRoutine(removeBackdrop);
    backdrop()->show();
    // Paint now: the following start-up steps do not process events for a while.
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void QWSServer::setCursorVisible(bool visible)
{
    while (QGuiApplication::overrideCursor() != nullptr)
        QGuiApplication::restoreOverrideCursor();
    if (!visible)
        QGuiApplication::setOverrideCursor(Qt::BlankCursor);
}
