// The processes of the board, from /proc.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

struct Process {
    qint64 pid;
    QByteArray name; ///< at most 15 bytes
    qint64 age;      ///< seconds since its start; wrong if it has just exited
};

/** Return all processes. */
[[nodiscard]] QList<Process> allProcesses();

/** Return the other processes that have a file open, and the owner of its lock file in /run/lock,
 *  as pppd's option lock creates it. */
[[nodiscard]] QList<Process> usersOf(const QString &path);
