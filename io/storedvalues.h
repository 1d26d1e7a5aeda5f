// Loads the stored values and generates the lines of the four files, as the panel does.
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
 * Load the stored values. A missing file counts as its defaults. If 3gparam is too short, defaults
 * replace its missing lines; if autoparam is too short, its values are unset. (The panel shows no
 * value of a file that is too short.)
 * @return an error message if a file exists but cannot be read; empty on success
 */
[[nodiscard]] QString load(paramlist::ScreenValues &values);

/** Return the files that store the values, in the order in which the panel writes them. */
QList<File> parameterFiles(const paramlist::ScreenValues &values);

/** Return the files that pppd and chat read, in the order in which the panel writes them. */
QList<File> generatedFiles(const paramlist::ScreenValues &values);

/** Result of compare(). */
enum class Agreement { Agrees, Missing, Differs };

/** Compare the file at file.path with file.lines. An unreadable file counts as different. */
[[nodiscard]] Agreement compare(const File &file);

/** Return which of pppd's secrets files have entries. */
[[nodiscard]] dialcheck::NetworkSecrets networkSecrets();

} // namespace storedvalues
