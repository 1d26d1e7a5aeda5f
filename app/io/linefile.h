// Small text files of lines: the parameter files, the chat script and the peer file.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

namespace LineFile
{

/**
 * Content of a regular file, at most its first MiB.
 * @return nothing when the path cannot be opened for reading or is no regular file; never blocks,
 *         whatever the path is
 */
std::optional<QByteArray> read(const QString &path);

/**
 * Rewrites a file in place: truncated, then line by line, each UTF-8 and followed by a line feed,
 * then synced to storage. It is created when missing (its directory is not), and only its owner
 * may read and write it afterwards, because the lines hold secrets.
 *
 * A file that cannot be opened, or is no regular file, is left alone. When storage fails half-way
 * (full, say), the earlier content is put back, and a file that was not there is removed again.
 * @return whether the new content is on storage; the failing system call has been logged once
 */
bool write(const QString &path, const QStringList &lines);

} // namespace LineFile
