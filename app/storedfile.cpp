#include "app/storedfile.h"

#include "core/paramlist.h"
#include "io/linefile.h"

using linefile::ReadResult;

void StoredFile::load(QStringList &list)
{
    const ReadResult content = linefile::read(path);
    read = content.state == ReadResult::Complete;
    unreadable = content.state == ReadResult::Unreadable;
    everRead = everRead || read;
    edited = false;
    if (read)
        list = paramlist::parseLines(content.bytes);
    else
        list.append(defaults);
}

void StoredFile::save(const QStringList &lines) const
{
    // Check again: a late mount may have added a file that was missing at the last load.
    if (read || edited || linefile::read(path).state == ReadResult::Missing)
        linefile::write(path, lines);
}
