/// Answers requests about the running application on a Unix socket.
///
/// Loaded into the unchanged program as a Qt generic plug-in. One request line per connection, one
/// line of JSON as the reply, then the connection is closed:
///   dump                       the whole screen, see dumpApplication(), and under "invoked" what
///                              the calls asked for with invoke have come to
///   click X Y                  a press and a release of the left button at the global position
///   invoke CLASS SLOT [INT]    calls a slot of the first object of that class
///   type TEXT                  types a percent-encoded text into what has the focus
///   key NAME                   presses one key: Esc, Del, Ctrl+A
///   shot FILE                  writes the screen's picture to FILE, format by its ending
/// Whatever runs the program's own code is answered first ({"ok": true}) and then done from the
/// event loop, so that a modal dialog or a slow command never holds a reply back. A request that
/// cannot be met is answered {"ok": false, "error": TEXT}.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QLocalServer>
#include <QObject>
#include <QPoint>

class QLocalSocket;

class Inspector : public QObject
{
    Q_OBJECT

public:
    /// Starts listening; a path that cannot be bound is reported as a warning.
    explicit Inspector(const QString &socketPath);

private:
    void accept();
    void serve(QLocalSocket *client);
    QJsonObject answer(const QStringList &words);
    QJsonObject click(const QStringList &words);
    QJsonObject typeText(const QString &text);
    QJsonObject pressKey(const QString &name);
    QJsonObject invoke(const QStringList &words);
    void callSlot(QObject *target, const QByteArray &slot, bool hasArgument, int argument,
                  int call);

    QLocalServer server_;
    QJsonArray invoked_; ///< per call {"slot", "running", "result" (int and bool slots)}
};
