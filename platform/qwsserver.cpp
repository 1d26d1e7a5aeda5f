#include "qwsserver.h"

#include "qwsinputmethod.h"

#include <QApplication>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QWidget>

namespace
{

/** The window behind all windows. */
class Backdrop : public QWidget
{
public:
    explicit Backdrop(const QBrush &brush)
        : QWidget(nullptr, Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus |
                               Qt::WindowStaysOnBottomHint | Qt::WindowTransparentForInput),
          m_brush(brush)
    {
        setAttribute(Qt::WA_QuitOnClose, false); // Visible to the end, and no reason to go on.
        setAttribute(Qt::WA_OpaquePaintEvent);
        setAttribute(Qt::WA_ShowWithoutActivating);
        setGeometry(QGuiApplication::primaryScreen()->geometry());
    }

    void setBrush(const QBrush &brush)
    {
        m_brush = brush;
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(rect(), m_brush); }

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
