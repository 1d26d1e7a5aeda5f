// The two parameter lists: the lines of the dial-up and of the auto-connect parameter file, what
// each index means, and how they meet the values on the screen.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace ParamList
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

/** The eight values of the screen, as they stand in the fields. */
struct ScreenValues {
    QString apn;
    QString dialNumber;
    QString user;
    QString password;
    QString pin;
    int authMethod = 0; ///< index of the method's combo item; -1 with no item selected
    AutoChoice autoConnect = AutoChoice::Unset;
    QString counts;
};

/** Removes blank, tab, line feed, carriage return, vertical tab and form feed at both ends; other
 *  white space (no-break space, say) may belong to a password. */
QString trimmed(const QString &text);

/**
 * Value of one line: up to its first NUL, as UTF-8; a line that is not valid UTF-8 is ISO 8859-1,
 * as older installations wrote it. Trimmed.
 * @param line the bytes of the line, with or without its line end
 */
QString decodeLine(const QByteArray &line);

/** Every line of a parameter file, decoded. The last one needs no line feed. */
QStringList parse(const QByteArray &content);

/** Dial-up list that stands for a file that cannot be opened. */
QStringList dialUpDefaults();

/** Auto-connect list that stands for a file that cannot be opened. */
QStringList autoConnectDefaults();

/** Entry of a dial-up list; the default when the list is too short. */
QString dialUpEntry(const QStringList &list, DialUpIndex index);

/** Entry of an auto-connect list; the default when the list is too short. */
QString autoConnectEntry(const QStringList &list, AutoConnectIndex index);

/** Authentication method of a dial-up list; 0 when the entry is not an integer. */
int authMethod(const QStringList &list);

/** Radio button that an auto-connect list selects: NO for every non-zero integer, else YES. */
AutoChoice autoChoice(const QStringList &list);

/** Lines of the parameter file for the values on the screen, without line ends. */
QStringList dialUpLines(const ScreenValues &screen);

/** Lines of the auto-connect file for the values on the screen, without line ends. */
QStringList autoConnectLines(const ScreenValues &screen);

/**
 * Whether an operator has changed something since the lists were loaded. Texts are compared as
 * they stand in the fields, untrimmed.
 */
bool differs(const ScreenValues &screen, const QStringList &dialUp, const QStringList &autoConnect);

} // namespace ParamList
