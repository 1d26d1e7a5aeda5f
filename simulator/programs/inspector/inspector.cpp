// A Qt generic plugin that inspects and operates the unchanged program, by requests on a Unix
// socket.
#include "simulator/programs/inspector/dump.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QKeySequence>
#include <QLocalServer>
#include <QLocalSocket>
#include <QMetaMethod>
#include <QPixmap>
#include <QPointer>
#include <QScreen>
#include <QTest>
#include <QUrl>
#include <QWidget>
#include <QWindow>
#include <QtGui/qgenericplugin.h>

/**
 * The inspector. A client sends one line with a request and receives one line of JSON. Then the
 * connection is closed. The requests:
 *
 *     dump                       returns dumpScreen() and the state of all calls by invoke so far:
 *                                {"invoked": [{"slot", "running", "result" (int)}, ...]}
 *     click X Y                  presses and releases the left button at the global position
 *     invoke CLASS SLOT [INT]    calls a slot of the first object of that class
 *     type TEXT                  types a percent-encoded text into the focus window
 *     key NAME                   presses one key: Esc, Del, Ctrl+A
 *     shot FILE                  writes a screenshot to FILE, in the format of the name's suffix
 *
 * For a request that runs the program's own code, the inspector replies {"ok": true} first and then
 * runs the code from the event loop, so a modal dialog or a slow command cannot delay the reply.
 * The reply to an invalid request is {"ok": false, "error": TEXT}.
 */
class Inspector : public QObject
{
    Q_OBJECT

public:
    /** Start listening. Log a warning if the path cannot be bound. */
    explicit Inspector(const QString &socketPath);

private:
    void serve(QLocalSocket *client);
    QJsonObject answer(const QStringList &words);
    template <typename Action> QJsonObject later(Action action);
    QJsonObject invoke(const QStringList &words);

    QLocalServer m_server;
    QJsonArray m_invoked; ///< for each call {"slot", "running", "result" (0 without one)}
};

namespace
{

QJsonObject failure(const QString &text)
{
    return {{"ok", false}, {"error", text}};
}

/**
 * Press and release the button as a touch does, on the topmost window at that position. Qt drops
 * the events of windows that a modal dialog blocks.
 */
void click(const QPoint &global)
{
    QPointer<QWindow> window = QGuiApplication::topLevelAt(global);
    if (window == nullptr)
        return;
    const QPoint local = window->mapFromGlobal(global);
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, local);
    if (window != nullptr)
        QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, local);
}

void sendKey(Qt::Key key, Qt::KeyboardModifiers modifiers, const QString &text)
{
    if (QWindow *window = QGuiApplication::focusWindow())
        QTest::sendKeyEvent(QTest::Click, window, key, text, modifiers);
}

QObject *findByClass(const QByteArray &name)
{
    for (QWidget *top : QApplication::topLevelWidgets()) {
        QObjectList objects = top->findChildren<QObject *>();
        for (QObject *object : std::as_const(objects << top)) {
            if (object->metaObject()->className() == name)
                return object;
        }
    }
    return nullptr;
}

} // namespace

Inspector::Inspector(const QString &socketPath)
{
    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *client = m_server.nextPendingConnection()) {
            connect(client, &QLocalSocket::readyRead, this, [this, client] { serve(client); });
            connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            serve(client);
        }
    });
    if (!m_server.listen(socketPath))
        qWarning("inspector: %s", qPrintable(m_server.errorString()));
}

void Inspector::serve(QLocalSocket *client)
{
    if (!client->canReadLine())
        return;
    const QString line = QString::fromUtf8(client->readLine()).simplified();
    const QJsonObject reply = answer(line.split(' '));
    client->write(QJsonDocument(reply).toJson(QJsonDocument::Compact) + '\n');
    client->flush();
    client->disconnectFromServer();
}

/** Run an action after the reply to the current request. @return the reply */
template <typename Action> QJsonObject Inspector::later(Action action)
{
    QMetaObject::invokeMethod(this, action, Qt::QueuedConnection);
    return {{"ok", true}};
}

QJsonObject Inspector::answer(const QStringList &words)
{
    const QString &request = words.first();
    const QString argument = words.value(1);
    if (request == "dump") {
        QJsonObject dump = dumpScreen();
        dump.insert("invoked", m_invoked);
        return dump;
    }
    if (request == "click") {
        const QPoint position(argument.toInt(), words.value(2).toInt());
        return later([position] { click(position); });
    }
    if (request == "invoke")
        return invoke(words);
    if (request == "type") {
        return later([text = QUrl::fromPercentEncoding(argument.toLatin1())] {
            for (const QChar character : text)
                sendKey(Qt::Key_unknown, Qt::NoModifier, character);
        });
    }
    if (request == "key") {
        const QKeySequence keys = QKeySequence::fromString(argument, QKeySequence::PortableText);
        return later([key = keys[0]] { sendKey(key.key(), key.keyboardModifiers(), QString()); });
    }
    if (request == "shot") {
        if (!QGuiApplication::primaryScreen()->grabWindow(0).save(argument))
            return failure("cannot write " + argument);
        return {{"ok", true}};
    }
    return failure("unknown request: " + words.join(' '));
}

QJsonObject Inspector::invoke(const QStringList &words)
{
    QPointer<QObject> target = findByClass(words.value(1).toLatin1());
    if (target == nullptr)
        return failure("no such object: " + words.join(' '));
    const bool hasArgument = words.size() > 3;
    const QByteArray signature = words.value(2).toLatin1() + (hasArgument ? "(int)" : "()");
    const QMetaMethod method =
        target->metaObject()->method(target->metaObject()->indexOfSlot(signature));
    if (!method.isValid())
        return failure("no such slot: " + words.join(' '));
    QJsonObject call{{"slot", words.value(2)}, {"running", true}};
    const auto index = m_invoked.size();
    m_invoked.append(call);
    return later([this, target, method, hasArgument, call, index,
                  argument = words.value(3).toInt()]() mutable {
        if (target == nullptr)
            return;
        // Qt's macros have another type since Qt 6.5, which cannot represent an absent argument.
        const QGenericArgument first =
            hasArgument ? QGenericArgument("int", &argument) : QGenericArgument();
        int result = 0;
        const QGenericReturnArgument returned = method.returnType() == QMetaType::Int
                                                    ? QGenericReturnArgument("int", &result)
                                                    : QGenericReturnArgument();
        method.invoke(target, Qt::DirectConnection, returned, first);
        call.insert("result", result);
        call.insert("running", false);
        m_invoked.replace(index, call);
    });
}

class InspectorPlugin : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "inspector.json")

public:
    QObject *create(const QString &, const QString &) override
    {
        return new Inspector(qEnvironmentVariable("CORVANTA_INSPECTOR_SOCKET"));
    }
};

#include "inspector.moc"
