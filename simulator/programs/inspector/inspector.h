// Answers requests about the running program on a Unix socket.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QLocalServer>
#include <QObject>

#include <functional>

class QLocalSocket;

/**
 * The inspector in the unchanged program, which loads it as a Qt generic plugin. A client sends one
 * line with a request and receives one line of JSON; then the connection is closed:
 *
 *     dump                       the whole screen, as dumpScreen(), and the state of each call so
 *                                far: {"invoked": [{"slot", "running", "result"}, ...]}
 *     click X Y                  presses and releases the left button at the global position
 *     invoke CLASS SLOT [INT]    calls a slot of the first object of that class
 *     type TEXT                  types a percent-encoded text into the focus window
 *     key NAME                   presses one key: Esc, Del, Ctrl+A
 *     shot FILE                  writes a screenshot to FILE, in the format of the name's suffix
 *
 * A request that runs the program's own code is answered {"ok": true} first and then run from the
 * event loop, so that no modal dialog and no slow command delays the reply. The reply to an invalid
 * request is {"ok": false, "error": TEXT}.
 */
class Inspector : public QObject
{
    Q_OBJECT

public:
    /** Starts listening. Warns when the path cannot be bound. */
    explicit Inspector(const QString &socketPath);

    using Action = std::function<void()>;

signals:
    /** Emitted after the reply to a request, with the action to run. */
    void answered(const Action &action);

private:
    void accept();
    void serve(QLocalSocket *client);
    QJsonObject answer(const QStringList &words);
    void perform(const Action &action) { action(); }
    QJsonObject click(const QStringList &words);
    QJsonObject typeText(const QString &text);
    QJsonObject pressKey(const QString &name);
    QJsonObject invoke(const QStringList &words);
    void callSlot(QObject *target, const QByteArray &slot, bool hasArgument, int argument,
                  int call);

    QLocalServer m_server;
    QJsonArray m_invoked; ///< by call {"slot", "running", "result" (int and bool slots)}
};
