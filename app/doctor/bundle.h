// Packs the page, files and logs into an archive without secrets.
#pragma once

#include "app/doctor/page.h"

namespace doctor
{

/**
 * Write a tar.gz archive, which only root can read, of the page, the parameters, the generated
 * files, the logs, the units' journal and the kernel's messages about USB. Secrets are masked.
 * @param file path of the archive, replaced if it exists
 * @return false when it could not be written completely
 */
[[nodiscard]] bool writeBundle(const Page &page, const QString &file);

} // namespace doctor
