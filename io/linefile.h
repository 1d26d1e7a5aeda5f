// Reads and writes small text files: the parameter files, the chat script and the peer file.
// Failures are logged in the category "corvanta.files", which is off by default.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace linefile
{

/** Result of reading a file. */
struct ReadResult {
    enum State {
        Complete,   ///< read to the end of the file, at most 1 MiB
        Missing,    ///< the file does not exist
        Unreadable, ///< it exists, but is not a regular file or could not be read completely
    };
    State state;
    QByteArray bytes; ///< content; empty unless state is Complete
    int error = 0;    ///< errno if it is missing or unreadable
};

/** Read a regular file, at most its first MiB. Does not block on FIFOs or devices. */
[[nodiscard]] ReadResult read(const QString &path);

/** Read the last 64 KiB of a regular file, as read() does. */
[[nodiscard]] ReadResult readEnd(const QString &path);

/**
 * Rewrite a file in place, as UTF-8 with a newline after each line, and fsync it. Create a
 * missing file, but not a missing directory. The file gets mode 0600, because the lines contain
 * secrets; on a file system without owners and modes, only log that. A path that cannot be opened
 * or is not a regular file is left unchanged.
 *
 * After SIGKILL or a power cut, the file has either the old or the new content, followed at most by
 * empty lines, provided that both fit into one memory page and one block of the file system (4
 * KiB); a new file can also be empty. If writing fails halfway (disk full, for example), the old
 * content is restored if it could be read; a new file is removed.
 * @return true when the new content is on disk
 */
bool write(const QString &path, const QStringList &lines);

} // namespace linefile
