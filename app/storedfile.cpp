#include "app/storedfile.h"

#include "core/paramlist.h"
#include "io/linefile.h"

using linefile::Content;

void StoredFile::load(QStringList &list)
{
    const Content content = linefile::read(m_path);
    m_read = content.state == Content::Whole;
    m_unreadable = content.state == Content::Unreadable;
    m_everRead = m_everRead || m_read;
    m_edited = false;
    if (m_read)
        list = paramlist::parse(content.bytes);
    else
        list.append(m_defaults);
}

void StoredFile::save(const QStringList &lines) const
{
    // A file that was missing may have come with a mount that was late.
    if (m_read || m_edited || linefile::read(m_path).state == Content::Missing)
        linefile::write(m_path, lines);
}
