#include "app/storedfile.h"

#include "core/paramlist.h"
#include "io/linefile.h"

using linefile::Content;

void StoredFile::load(QStringList &list)
{
    const Content content = linefile::read(path);
    read = content.state == Content::Whole;
    unreadable = content.state == Content::Unreadable;
    everRead = everRead || read;
    edited = false;
    if (read)
        list = paramlist::parse(content.bytes);
    else
        list.append(defaults);
}

void StoredFile::save(const QStringList &lines) const
{
    // Check again: a late mount may have added a file that was missing at the last load.
    if (read || edited || linefile::read(path).state == Content::Missing)
        linefile::write(path, lines);
}
