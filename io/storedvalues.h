// The parameter files and the files generated from them: the same bytes as the panel's.
#pragma once

#include "core/dialcheck.h"
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

/** Whether the file on the board has the lines of a File. */
enum class Agreement { Agrees, Missing, Differs };

/** Compare a file on the board with its lines. One that cannot be read differs. */
[[nodiscard]] Agreement compare(const File &file);

/** Return which of pppd's secrets files have entries. */
[[nodiscard]] dialcheck::NetworkSecrets networkSecrets();

} // namespace storedvalues
