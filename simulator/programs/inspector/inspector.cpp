#include "simulator/programs/inspector/inspector.h"

#include "simulator/programs/inspector/dump.h"

#include <QApplication>
#include <QJsonDocument>
#include <QKeySequence>
#include <QLocalSocket>
#include <QMetaMethod>
#include <QPixmap>
#include <QPointer>
#include <QScreen>
#include <QTest>
#include <QUrl>
#include <QWindow>

namespace
{

QJsonObject failure(const QString &text)
{
    return {{"ok", false}, {"error", text}};
}

/**
 * Presses and releases the button as a touch would: on the topmost window at that position. The
 * window system blocks the events that a modal dialog blocks.
 */
void deliverClick(const QPoint &global)
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
        if (top->metaObject()->className() == name)
            return top;
        for (QObject *child : top->findChildren<QObject *>()) {
            if (child->metaObject()->className() == name)
                return child;
        }
    }
    return nullptr;
}

QJsonObject takeShot(const QString &file)
{
    QScreen *screen = QGuiApplication::primaryScreen();
    if (screen == nullptr)
        return failure("no screen");
    if (!screen->grabWindow(0).save(file))
        return failure("cannot write " + file);
    return {{"ok", true}};
}

} // namespace

Inspector::Inspector(const QString &socketPath)
{
    connect(&m_server, &QLocalServer::newConnection, this, &Inspector::accept);
    connect(this, &Inspector::answered, this, &Inspector::perform, Qt::QueuedConnection);
    if (!m_server.listen(socketPath))
        qWarning("inspector: %s", qPrintable(m_server.errorString()));
}

void Inspector::accept()
{
    while (QLocalSocket *client = m_server.nextPendingConnection()) {
        connect(client, &QLocalSocket::readyRead, this, [this, client] { serve(client); });
        connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
        serve(client);
    }
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

QJsonObject Inspector::answer(const QStringList &words)
{
    if (words == QStringList{"dump"}) {
        QJsonObject dump = dumpScreen();
        dump.insert("invoked", m_invoked);
        return dump;
    }
    if (words.first() == "click")
        return click(words);
    if (words.first() == "invoke")
        return invoke(words);
    if (words.first() == "type" && words.size() == 2)
        return typeText(QUrl::fromPercentEncoding(words.at(1).toLatin1()));
    if (words.first() == "key" && words.size() == 2)
        return pressKey(words.at(1));
    if (words.first() == "shot" && words.size() == 2)
        return takeShot(words.at(1));
    return failure("unknown request: " + words.join(' '));
}

QJsonObject Inspector::click(const QStringList &words)
{
    bool xIsNumber = false;
    bool yIsNumber = false;
    const QPoint position(words.value(1).toInt(&xIsNumber), words.value(2).toInt(&yIsNumber));
    if (words.size() != 3 || !xIsNumber || !yIsNumber)
        return failure("click X Y");
    emit answered([position] { deliverClick(position); });
    return {{"ok", true}};
}

QJsonObject Inspector::typeText(const QString &text)
{
    const auto send = [text] {
        for (const QChar character : text)
            sendKey(Qt::Key_unknown, Qt::NoModifier, character);
    };
    emit answered(send);
    return {{"ok", true}};
}

QJsonObject Inspector::pressKey(const QString &name)
{
    const QKeySequence sequence = QKeySequence::fromString(name, QKeySequence::PortableText);
    if (sequence.count() != 1 || sequence[0].key() == Qt::Key_unknown)
        return failure("no such key: " + name);
    const auto send = [combination = sequence[0]] {
        sendKey(combination.key(), combination.keyboardModifiers(), QString());
    };
    emit answered(send);
    return {{"ok", true}};
}

QJsonObject Inspector::invoke(const QStringList &words)
{
    bool isNumber = true;
    const bool hasArgument = words.size() == 4;
    const int argument = hasArgument ? words.at(3).toInt(&isNumber) : 0;
    if (words.size() < 3 || words.size() > 4 || !isNumber)
        return failure("invoke CLASS SLOT [INT]");
    QPointer<QObject> target = findByClass(words.at(1).toLatin1());
    if (target == nullptr)
        return failure("no object of class " + words.at(1));
    const QByteArray slot = words.at(2).toLatin1();
    if (target->metaObject()->indexOfSlot(slot + (hasArgument ? "(int)" : "()")) == -1)
        return failure("no such slot: " + words.at(2));
    const int call = static_cast<int>(m_invoked.size());
    m_invoked.append(QJsonObject{{"slot", words.at(2)}, {"running", true}});
    const auto run = [this, target, slot, hasArgument, argument, call] {
        if (target != nullptr)
            callSlot(target, slot, hasArgument, argument, call);
    };
    emit answered(run);
    return {{"ok", true}};
}

void Inspector::callSlot(QObject *target, const QByteArray &slot, bool hasArgument, int argument,
                         int call)
{
    const QMetaObject *meta = target->metaObject();
    const QMetaMethod method =
        meta->method(meta->indexOfSlot(slot + (hasArgument ? "(int)" : "()")));
    // Not Qt's macros: since Qt 6.5 they have another type, which cannot be an absent argument.
    const QGenericArgument first =
        hasArgument ? QGenericArgument("int", &argument) : QGenericArgument();
    QJsonObject done{{"slot", QString::fromLatin1(slot)}, {"running", false}};
    if (method.returnType() == QMetaType::Int) {
        int result = 0;
        method.invoke(target, Qt::DirectConnection, QGenericReturnArgument("int", &result), first);
        done.insert("result", result);
    } else if (method.returnType() == QMetaType::Bool) {
        bool result = false;
        method.invoke(target, Qt::DirectConnection, QGenericReturnArgument("bool", &result), first);
        done.insert("result", result);
    } else {
        method.invoke(target, Qt::DirectConnection, first);
    }
    m_invoked.replace(call, done);
}
