// The dial-up logs: creation and rotation.
#pragma once

#include <QStringList>

/**
 * Create each missing log with mode 0600, and withdraw the rights of group and others from an
 * existing one. The logs contain user names, CHAP challenges and responses, and pppd would create
 * its log readable by every user. Only regular files of the program's user are changed; symbolic
 * links are not followed. Failures are not reported.
 */
void makePrivateLogs(const QStringList &paths);

/**
 * Keep one old generation of each log: delete all PATH.old files, then rename each PATH to
 * PATH.old. A log is not renamed if its PATH.old cannot be deleted.
 * @param paths paths of the logs; missing logs are skipped
 */
void rotateLogs(const QStringList &paths);
