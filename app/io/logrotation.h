// Rotation of the dial-up logs.
#pragma once

#include <QStringList>

/**
 * Keeps one earlier generation of each log: every PATH.old is removed, then every PATH becomes
 * PATH.old. A log whose old copy cannot be removed stays where it is.
 * @param paths logs, whether or not they exist
 */
void rotateLogs(const QStringList &paths);
