// The parameter files and the files generated from them, as corvanta-provision reads and writes
// them: the same bytes as the panel's.
#pragma once

#include "core/paramlist.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace storedvalues
{

/** One of the four files. */
struct File {
    const char *path; ///< see boardpaths
    QStringList lines;
};

/**
 * Load the stored values. A missing file has the defaults, and so have the missing lines of a
 * short parameter file, of which the panel shows nothing.
 * @return an error message if a file exists but cannot be read; empty on success
 */
[[nodiscard]] QString load(paramlist::ScreenValues &values);

/** Return the files that store the values, in the order in which the panel writes them. */
QList<File> parameterFiles(const paramlist::ScreenValues &values);

/** Return the files that pppd and chat read, in the order in which the panel writes them. */
QList<File> generatedFiles(const paramlist::ScreenValues &values);

} // namespace storedvalues
