// Small text files of lines: the parameter files, the chat script and the peer file.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

namespace linefile
{

/**
 * Reads a regular file, at most its first MiB. Never blocks, whatever the path is.
 * @return nothing when the path cannot be opened for reading or is no regular file
 */
std::optional<QByteArray> read(const QString &path);

/**
 * Rewrites a file in place, as UTF-8 with a line feed after each line, and syncs it to storage. A
 * missing file is created, a missing folder is not. Only its owner may read and write it
 * afterwards, because the lines hold secrets.
 *
 * A path that cannot be opened, or is no regular file, is left alone. When storage fails half-way
 * (a full disk, for example), the earlier content is put back, and a new file is removed again. If
 * that fails, too, it is logged, and the file may hold a part of either content.
 * @return whether the new content is on storage; if not, the failed system call has been logged
 */
bool write(const QString &path, const QStringList &lines);

} // namespace linefile
