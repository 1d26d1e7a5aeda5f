// Rotation of the dial-up logs.
#pragma once

#include <QStringList>

/**
 * Keeps one earlier generation of each log: removes every PATH.old, then renames every PATH to
 * PATH.old. A log whose old copy cannot be removed keeps its name.
 * @param paths of logs that may be missing
 */
void rotateLogs(const QStringList &paths);
