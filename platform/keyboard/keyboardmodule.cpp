// The root object of the plug-in.
#include "keyboardwindow.h"
#include "onscreenkeyboard.h"
#include "platform/qwsinputmethod.h"

#include <QCoreApplication>
#include <QDebug>
#include <QObject>

#include <memory>

class KeyboardModule : public QObject, public QWSInputMethod
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "corvanta.QWSInputMethod/1")
    Q_INTERFACES(QWSInputMethod)

public:
    void activate() override;

private:
    static void release();
    static KeyboardModule *active;

    std::unique_ptr<KeyboardWindow> m_keys;
    std::unique_ptr<OnScreenKeyboard> m_keyboard;
};

KeyboardModule *KeyboardModule::active = nullptr;

void KeyboardModule::activate()
{
    QString fault;
    m_keys = KeyboardWindow::create(&fault);
    if (m_keys == nullptr) {
        qDebug("No on-screen keyboard: %s", qPrintable(fault));
        return;
    }
    m_keyboard = std::make_unique<OnScreenKeyboard>(*m_keys);
    active = this;
    qAddPostRoutine(release); // A window must go before the application object does.
}

void KeyboardModule::release()
{
    active->m_keyboard.reset();
    active->m_keys.reset();
}

#include "keyboardmodule.moc"
