#include "keyboardwindow.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQuickItem>
#include <QScreen>

namespace
{

constexpr Qt::WindowFlags Flags =
    Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus;

} // namespace

std::unique_ptr<KeyboardWindow> KeyboardWindow::create(QString *fault)
{
    if (QGuiApplication::primaryScreen() == nullptr) {
        *fault = QStringLiteral("no screen");
        return nullptr;
    }
    QQuickWindow::setSceneGraphBackend(QStringLiteral("software")); // The board has no GPU.
    std::unique_ptr<KeyboardWindow> window(new KeyboardWindow);
    if (!window->load(fault))
        return nullptr;
    return window;
}

KeyboardWindow::KeyboardWindow()
{
    setFlags(Flags);
    setColor(Qt::black);
    m_engine.addImportPath(QStringLiteral(":/corvanta/keyboard/imports"));
}

KeyboardWindow::~KeyboardWindow()
{
    // The engine is gone when the base class hides the window and deletes its content.
    hide();
    delete m_panel;
}

bool KeyboardWindow::load(QString *fault)
{
    QQmlComponent component(&m_engine, QUrl(QStringLiteral("qrc:/corvanta/keyboard/Panel.qml")));
    if (!component.isReady()) {
        *fault = component.errors().constFirst().toString();
        return false;
    }
    m_panel = qobject_cast<QQuickItem *>(component.create());
    m_panel->setParent(contentItem());
    m_panel->setParentItem(contentItem());
    connect(m_panel, SIGNAL(keysHeightChanged()), this, SLOT(fit()));
    // Left to itself the engine collects so seldom that its memory seems to leak.
    connect(this, &QWindow::visibleChanged, this, [this] { m_engine.collectGarbage(); });
    fit();
    return true;
}

void KeyboardWindow::fit()
{
    const QRect panel = QGuiApplication::primaryScreen()->geometry();
    m_panel->setWidth(panel.width());
    const int height = qRound(m_panel->property("keysHeight").toReal());
    setGeometry(panel.left(), panel.bottom() + 1 - height, panel.width(), height);
}
