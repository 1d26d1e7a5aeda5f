// One of the two parameter files: the result of its last load, and whether the operator has edited
// its page since.
#pragma once

#include <QString>
#include <QStringList>

class StoredFile
{
public:
    /** @param file path of the file
     *  @param defaultLines lines to use when the file cannot be read */
    StoredFile(const char *file, const QStringList &defaultLines)
        : path(file), defaults(defaultLines)
    {
    }

    /** Replace a list with the lines of the file. If the file cannot be read, append the defaults
     *  to the list. */
    void load(QStringList &list);

    /** Record that the operator has edited the file's page since the last load. */
    void noteEdit() { edited = true; }

    /** Write lines to the file. Keep a file that exists but that the last load did not read, unless
     *  its page was edited: defaults that the operator did not type must not replace it. */
    void save(const QStringList &lines) const;

    /** @return true when the file exists but could never be read: the list then holds only
     *          defaults, which are not the parameters of the link */
    [[nodiscard]] bool isUnknown() const { return unreadable && !everRead; }

private:
    QString path;
    QStringList defaults;
    bool read = false;       ///< the last load read the file
    bool unreadable = false; ///< the file exists, but the last load could not read it
    bool everRead = false;   ///< some load has read the file
    bool edited = false;     ///< the operator has edited the page since the last load
};
