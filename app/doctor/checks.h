// Checks of corvanta-doctor, one function for each group of the page; and the archive that it
// writes.
#pragma once

#include "app/doctor/page.h"

#include <QDateTime>

namespace doctor
{

/** @return true when /dev/ttyUSB0 is the dongle's port and no process has it open */
[[nodiscard]] bool checkDongle(Page &page);
/** Query the modem with at most five commands, each with a timeout of 3 s. */
void checkNetwork(Page &page);
void checkBoard(Page &page);
void checkParameters(Page &page);
/** @param reach true to ping the target of the ping test, too */
void checkLink(Page &page, bool reach);
void checkScreen(Page &page);
void checkService(Page &page);

/**
 * Write a tar.gz archive, which only root can read, of the page, the generated files, pppd's
 * options, /etc/default/corvanta, the logs, the journal of the service and of dialling, and the
 * kernel's messages about USB. Secrets are masked.
 * @param file path of the archive, which must not exist
 * @return an error message if it could not be written completely and was removed; empty on success
 */
[[nodiscard]] QString writeBundle(const Page &page, const QString &file);

/** Return a small file's content without white space at its ends; empty if it cannot be read. */
[[nodiscard]] QByteArray contentOf(const QString &path);

/** Return a file's modification time; if the file does not exist, an invalid time, which compares
 *  as earlier than every other. */
[[nodiscard]] QDateTime changed(const QString &file);

/**
 * Run a program without a shell. Kill it 2 s after its start or 5 s after the first call of this
 * function, whichever comes first.
 * @return its output; empty when it is missing, fails or is killed
 */
[[nodiscard]] QByteArray outputOf(const QString &program, const QStringList &arguments);

} // namespace doctor
