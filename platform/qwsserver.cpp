#include "platform/qwsserver.h"

#include "platform/qwsinputmethod.h"

#include <QBackingStore>
#include <QGuiApplication>
#include <QPainter>
#include <QPointer>
#include <QRasterWindow>
#include <QScreen>
#include <QTimer>
#include <malloc.h>

namespace
{

// Qt::ToolTip: the program exits when its last window is closed, and Qt does not count such
// windows. The background window may still be visible.
constexpr Qt::WindowFlags Flags = Qt::ToolTip | Qt::FramelessWindowHint |
                                  Qt::WindowDoesNotAcceptFocus | Qt::WindowStaysOnBottomHint |
                                  Qt::WindowTransparentForInput;

/** Return whether the panel's framebuffer has an alpha channel. Qt's backing store has the same
 *  format as the framebuffer. */
bool hasAlphaChannel()
{
    QWindow window;
    window.create();
    QBackingStore store(&window);
    store.resize(QSize(1, 1));
    const QPaintDevice *image = store.paintDevice();
    return image->devType() == QInternal::Image &&
           static_cast<const QImage *>(image)->hasAlphaChannel();
}

/** Return whether Qt clears the panel with this brush. With an alpha channel it clears the panel to
 *  transparent, and a lower plane of the display controller would show. */
bool isClearedWith(const QBrush &brush)
{
    return brush == QBrush(Qt::black) &&
           QGuiApplication::platformName() != QLatin1String("eglfs") && !hasAlphaChannel();
}

void removeBackgroundWindow();

/**
 * Background window. It paints only if Qt does not clear the panel with the brush. The window is
 * then deleted once another one covers it, because its backing store is as large as the panel.
 */
class BackgroundWindow : public QRasterWindow
{
public:
    explicit BackgroundWindow(const QBrush &brush) : m_brush(brush), m_paints(!isClearedWith(brush))
    {
        setFlags(Flags);
        setGeometry(QGuiApplication::primaryScreen()->geometry());
        if (m_paints)
            QCoreApplication::instance()->installEventFilter(this);
    }

    ~BackgroundWindow() override
    {
        if (m_paints)
            malloc_trim(0); // glibc would keep the freed backing store; return it to the system.
    }
    Q_DISABLE_COPY_MOVE(BackgroundWindow)

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const auto *window = qobject_cast<QWindow *>(watched);
        if (event->type() == QEvent::Expose && window != nullptr && window != this &&
            window->isExposed() && window->geometry().contains(geometry())) {
            // Delete this window after that one has painted. Not deleteLater(): the main window is
            // shown before the event loop starts, and Qt defers the deletion until that loop ends.
            QTimer::singleShot(0, QCoreApplication::instance(), removeBackgroundWindow);
        }
        return false;
    }

protected:
    bool event(QEvent *event) override
    {
        const bool paints = event->type() == QEvent::Paint || event->type() == QEvent::Expose ||
                            event->type() == QEvent::UpdateRequest;
        return (paints && !m_paints) || QRasterWindow::event(event);
    }

    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).fillRect(QRect(QPoint(0, 0), size()), m_brush);
    }

private:
    QBrush m_brush;
    bool m_paints;
};

QPointer<BackgroundWindow> &backgroundWindow()
{
    static QPointer<BackgroundWindow> instance;
    return instance;
}

void removeBackgroundWindow()
{
    delete backgroundWindow();
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
    if (!backgroundWindow())
        qAddPostRoutine(removeBackgroundWindow);
    delete backgroundWindow();
    backgroundWindow() = new BackgroundWindow(brush);
    backgroundWindow()->show();
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
