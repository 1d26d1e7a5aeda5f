// The two parameter lists, which hold the lines of the parameter file and of the auto-connect file:
// what each index means, and how lines become values of the screen and back.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

namespace paramlist
{

/** Entries of the dial-up list; entry i is line i + 1 of the parameter file. */
enum DialUpIndex {
    Apn = 0,
    DialNumber,
    User,
    Password,
    Pin,
    AuthMethod, ///< decimal integer, 0 AUTO, 1 PAP, 2 CHAP
    DialUpCount
};

/** Entries of the auto-connect list; entry i is line i + 1 of the auto-connect file. */
enum AutoConnectIndex {
    AutoFlag = 0, ///< "0" YES, "1" NO
    Counts,
    AutoConnectCount
};

/** Which of the two auto-connect radio buttons is selected. */
enum class AutoChoice { Unset, Yes, No };

/** The dial-up values as the screen has them. */
struct DialUpValues {
    QString apn;
    QString dialNumber;
    QString user;
    QString password;
    QString pin;
    int authMethod = 0; ///< index of the method's combo item; -1 with no item selected
};

/** The auto-connect values as the screen has them. */
struct AutoConnectValues {
    AutoChoice choice = AutoChoice::Unset;
    QString counts;
};

/** All values of the screen, texts untrimmed. */
struct ScreenValues {
    DialUpValues dialUp;
    AutoConnectValues autoConnect;
};

/** Removes blank, tab, line feed, carriage return, vertical tab and form feed at both ends. Other
 *  white space stays: a no-break space, for example, may belong to a password. */
QString trimmed(const QString &text);

/**
 * Decodes one line. A NUL ends it. It is UTF-8, or else ISO 8859-1, which older installations
 * wrote.
 * @param line bytes of the line, with or without its line end
 * @return trimmed text
 */
QString decodeLine(const QByteArray &line);

/** Decodes every line of a parameter file. The last line needs no line feed. */
QStringList parse(const QByteArray &content);

/** Dial-up list of a board without a parameter file. */
QStringList dialUpDefaults();

/** Auto-connect list of a board without an auto-connect file. */
QStringList autoConnectDefaults();

/** One entry of a dial-up list, or its default when the list is too short. */
QString dialUpEntry(const QStringList &list, DialUpIndex index);

/** One entry of an auto-connect list, or its default when the list is too short. */
QString autoConnectEntry(const QStringList &list, AutoConnectIndex index);

/** Authentication method of a dial-up list; 0 when the entry is not an integer. */
int authMethod(const QStringList &list);

/** What the screen shows of a dial-up list; nothing when the list is too short. */
std::optional<DialUpValues> dialUpValues(const QStringList &list);

/** What the screen shows of an auto-connect list; nothing when the list is too short. The flag
 *  selects NO when it is a non-zero integer, else YES. */
std::optional<AutoConnectValues> autoConnectValues(const QStringList &list);

/** Lines of the parameter file, without line ends. The texts are trimmed. */
QStringList dialUpLines(const DialUpValues &screen);

/** Lines of the auto-connect file, without line ends. No choice is stored as NO. */
QStringList autoConnectLines(const AutoConnectValues &screen);

/** @return whether the screen differs from the lists; its texts are compared untrimmed */
bool differs(const ScreenValues &screen, const QStringList &dialUp, const QStringList &autoConnect);

} // namespace paramlist
