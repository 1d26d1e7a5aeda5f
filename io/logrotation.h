// The dial-up logs: creation and rotation.
#pragma once

#include <QStringList>

/**
 * Creates each log that is missing, with mode 0600, and takes the rights of others from one that is
 * there: pppd creates its log readable by every user, with user names, CHAP challenges and
 * responses. A link, another user's file and anything but a regular file stay as they are. A
 * failure changes nothing and is not reported.
 */
void makePrivateLogs(const QStringList &paths);

/**
 * Keeps one earlier generation of each log: removes every PATH.old, then renames every PATH to
 * PATH.old. A log whose old copy cannot be removed keeps its name.
 * @param paths of logs that may be missing
 */
void rotateLogs(const QStringList &paths);
