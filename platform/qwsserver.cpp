#include "platform/qwsserver.h"

#include "platform/qwsinputmethod.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPointer>
#include <QRasterWindow>
#include <QScreen>

namespace
{

// Of this type Qt does not count it when the last window closes: it is visible to the end.
constexpr Qt::WindowFlags Flags = Qt::ToolTip | Qt::FramelessWindowHint |
                                  Qt::WindowDoesNotAcceptFocus | Qt::WindowStaysOnBottomHint |
                                  Qt::WindowTransparentForInput;

/** Whether the platform paints pixels like this for which a window has no picture. */
bool isUnpainted(const QBrush &brush)
{
    return brush == QBrush(Qt::black) && QGuiApplication::platformName() != QLatin1String("eglfs");
}

/** The window behind all windows. A picture of it would be as large as the panel. */
class Backdrop : public QRasterWindow
{
public:
    explicit Backdrop(const QBrush &brush) : m_brush(brush)
    {
        setFlags(Flags);
        setGeometry(QGuiApplication::primaryScreen()->geometry());
    }

    void setBrush(const QBrush &brush)
    {
        m_brush = brush;
        update();
    }

protected:
    bool event(QEvent *event) override
    {
        const bool paints = event->type() == QEvent::Paint || event->type() == QEvent::Expose ||
                            event->type() == QEvent::UpdateRequest;
        return (paints && isUnpainted(m_brush)) || QRasterWindow::event(event);
    }

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

/** Whether this program draws the panel itself. */
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
    // The start-up that follows serves no events for a while: paint now.
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void QWSServer::setCursorVisible(bool visible)
{
    while (QGuiApplication::overrideCursor() != nullptr)
        QGuiApplication::restoreOverrideCursor();
    if (!visible)
        QGuiApplication::setOverrideCursor(Qt::BlankCursor);
}
