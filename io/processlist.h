// The processes of the board, from /proc.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

struct Process {
    qint64 pid;
    QByteArray name; ///< at most 15 bytes
};

/** Return all processes. */
[[nodiscard]] QList<Process> allProcesses();

/** Return the seconds since a process started; meaningless if it has exited meanwhile. */
[[nodiscard]] qint64 ageOf(const Process &process);

/** Return the other processes that have a file open, and the owner of its lock file in /run/lock,
 *  which pppd creates with the option lock. */
[[nodiscard]] QList<Process> usersOf(const QString &path);
