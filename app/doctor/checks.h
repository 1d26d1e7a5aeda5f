// What corvanta-doctor looks at, one function for each group of the page.
#pragma once

#include "app/doctor/page.h"

namespace doctor
{

void checkBoard(Page &page);
void checkScreen(Page &page);
void checkService(Page &page);
/** @return true when the modem's port is in order, and no process has it open */
[[nodiscard]] bool checkDongle(Page &page);
/** Ask the modem: at most five commands of 3 s each. */
void checkNetwork(Page &page);
void checkParameters(Page &page);
/** @param reach true to ping the target of the ping test, too */
void checkLink(Page &page, bool reach);

/** Return a small file's content without white space at its ends; empty if it cannot be read. */
[[nodiscard]] QByteArray contentOf(const QString &path);

/** Run a program without a shell; all of them together have 5 s. @return its output; empty when it
 *  is missing, fails or takes too long */
[[nodiscard]] QByteArray outputOf(const QString &program, const QStringList &arguments);

} // namespace doctor
