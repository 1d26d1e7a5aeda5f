// Answers requests about the running program on a Unix socket.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QLocalServer>
#include <QObject>

#include <functional>

class QLocalSocket;

/**
 * Lives in the unchanged program, which loads it as a Qt generic plug-in. A connection takes one
 * line with a request, gets one line of JSON, and is closed:
 *
 *     dump                       the whole screen, as dumpScreen(), and what has become of earlier
 *                                calls: {"invoked": [{"slot", "running", "result"}, ...]}
 *     click X Y                  presses and releases the left button at the global position
 *     invoke CLASS SLOT [INT]    calls a slot of the first object of that class
 *     type TEXT                  types a percent-encoded text into what has the focus
 *     key NAME                   presses one key: Esc, Del, Ctrl+A
 *     shot FILE                  writes the screen's picture to FILE, in the format of its ending
 *
 * A request that runs the program's own code is answered {"ok": true} first and then done from the
 * event loop, so that no modal dialog and no slow command holds the reply back. The answer to one
 * that cannot be met is {"ok": false, "error": TEXT}.
 */
class Inspector : public QObject
{
    Q_OBJECT

public:
    /** Starts listening. Warns when the path cannot be bound. */
    explicit Inspector(const QString &socketPath);

    using Action = std::function<void()>;

signals:
    /** A request has its answer; the action that it asked for is next. */
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
