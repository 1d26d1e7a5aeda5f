// Small text files of lines: the parameter files, the chat script and the peer file. What fails is
// logged in the category "corvanta.files", which is off by default.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace linefile
{

/** What came of reading a file. */
struct Content {
    enum State {
        Whole,      ///< read to its end, or its first MiB
        Missing,    ///< there is no such file
        Unreadable, ///< it exists, but is no regular file, or was not read to its end
    };
    State state;
    QByteArray bytes; ///< of a whole file
    int error = 0;    ///< errno if it is missing or unreadable
};

/** Reads a regular file, at most its first MiB. Never blocks, whatever the path is. */
Content read(const QString &path);

/**
 * Rewrites a file in place, as UTF-8 with a line feed after each line, and syncs it to storage. A
 * missing file is created, a missing folder is not. Only the program's user may read and write it,
 * because the lines hold secrets; on a file system without owners and modes that is only logged. A
 * path that cannot be opened or is no regular file is left alone.
 *
 * A kill or a power cut at any moment leaves either content, with empty lines behind it at most, as
 * long as both are no larger than a page of memory and a block of the file system (4 KiB). A new
 * file can also be left empty. When storage fails half-way (a full disk, for example), the earlier
 * content is put back if it could be read, and a new file is removed again.
 * @return whether the new content is on storage
 */
bool write(const QString &path, const QStringList &lines);

} // namespace linefile
