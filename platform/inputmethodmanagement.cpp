#include "inputmethodmanagement.h"

#include "qwsinputmethod.h"

#include <QDebug>
#include <QPluginLoader>

namespace
{

constexpr char QtKeyboard[] = "qtvirtualkeyboard"; // what Qt calls its on-screen keyboard

/** The root object of a plug-in below Qt's plug-in paths; null, and a debug message, without it. */
QObject *loaded(const QString &plugin)
{
    QPluginLoader loader(plugin);
    QObject *root = loader.instance();
    if (root == nullptr)
        qDebug("No on-screen keyboard: %s: %s", qPrintable(plugin),
               qPrintable(loader.errorString()));
    return root;
}

} // namespace

void InputMethodManagement::prepare()
{
    qputenv("QT_VIRTUALKEYBOARD_DESKTOP_DISABLE", "1");
}

QWSInputMethod *InputMethodManagement::getCurrentInputMethod() const
{
    if (qgetenv("QT_IM_MODULE") != QtKeyboard)
        return nullptr;
    if (loaded(QStringLiteral("platforminputcontexts/qtvirtualkeyboardplugin")) == nullptr)
        return nullptr;
    QObject *module = loaded(QStringLiteral("corvanta/corvantakeyboard"));
    auto *method = qobject_cast<QWSInputMethod *>(module);
    if (module != nullptr && method == nullptr)
        qDebug("No on-screen keyboard: its module is not of this program's version");
    return method;
}
