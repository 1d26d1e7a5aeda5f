// One of the two parameter files: what its last load has shown, and whether its page was edited.
#pragma once

#include <QString>
#include <QStringList>

class StoredFile
{
public:
    /** @param standIns lines that stand in for a file that cannot be read */
    StoredFile(const char *file, const QStringList &standIns) : path(file), defaults(standIns) {}

    /** Replaces a list by the lines of the file, or appends the defaults when it cannot be read. */
    void load(QStringList &list);

    /** Notes that the operator has edited the file's page since the load. */
    void noteEdit() { edited = true; }

    /** Writes lines. A file whose content the last load has missed is kept unless its page was
     *  edited: defaults that nobody typed must not replace it. */
    void save(const QStringList &lines) const;

    /** @return true when the file is there and no load has read it: a list then holds defaults
     *          that say nothing about the link */
    bool isUnknown() const { return unreadable && !everRead; }

private:
    QString path;
    QStringList defaults;
    bool read = false;       ///< by the last load
    bool unreadable = false; ///< the last load found the file and could not read it
    bool everRead = false;
    bool edited = false;
};
