// The two parameter lists, one per parameter file: the meaning of each entry, and the conversion
// between lines and screen values.
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

/** Authentication methods: values of the AuthMethod entry, rows of the method combo box. */
enum Method { Auto = 0, Pap, Chap, MethodCount };

/** Selected auto-connect radio button. */
enum class AutoChoice { Unset, Yes, No };

/** Dial-up values on the screen. */
struct DialUpValues {
    QString apn;
    QString dialNumber;
    QString user;
    QString password;
    QString pin;
    int authMethod = 0; ///< index in the method combo box; -1 if none is selected
};

/** Auto-connect values on the screen. */
struct AutoConnectValues {
    AutoChoice choice = AutoChoice::Unset;
    QString counts;
};

/** All values on the screen; texts are untrimmed. */
struct ScreenValues {
    DialUpValues dialUp;
    AutoConnectValues autoConnect;
};

/** Remove ASCII white space (space, \t, \n, \v, \f, \r) at both ends. Other white space is kept: a
 *  password may contain a no-break space, for example. */
[[nodiscard]] QString trimmed(const QString &text);

/**
 * Decode one line up to the first NUL. The encoding is UTF-8, or ISO 8859-1 (from older
 * installations) if the line is not valid UTF-8.
 * @param line bytes of the line, with or without the newline
 * @return trimmed text
 */
[[nodiscard]] QString decodeLine(const QByteArray &line);

/** Decode all lines of a parameter file. The last line may lack a newline. */
[[nodiscard]] QStringList parseLines(const QByteArray &content);

/** Return the default dial-up list, for boards without a parameter file. */
[[nodiscard]] QStringList dialUpDefaults();

/** Return the default auto-connect list, for boards without an auto-connect file. */
[[nodiscard]] QStringList autoConnectDefaults();

/** Return an entry of a dial-up list, or its default when the list is too short. */
[[nodiscard]] QString dialUpEntry(const QStringList &list, DialUpIndex index);

/** Return an entry of an auto-connect list, or its default when the list is too short. */
[[nodiscard]] QString autoConnectEntry(const QStringList &list, AutoConnectIndex index);

/** Return the authentication method of a dial-up list; 0 when the entry is not an integer. */
[[nodiscard]] int authMethod(const QStringList &list);

/** Convert a dial-up list to screen values. @return std::nullopt when the list is too short */
[[nodiscard]] std::optional<DialUpValues> dialUpValues(const QStringList &list);

/** Convert an auto-connect list to screen values. A non-zero integer flag means NO, anything else
 *  YES. @return std::nullopt when the list is too short */
[[nodiscard]] std::optional<AutoConnectValues> autoConnectValues(const QStringList &list);

/** Generate the lines of the parameter file, trimmed and without newlines. */
[[nodiscard]] QStringList dialUpLines(const DialUpValues &screen);

/** Generate the lines of the auto-connect file, without newlines. AutoChoice::Unset is stored as
 *  NO. */
[[nodiscard]] QStringList autoConnectLines(const AutoConnectValues &screen);

/** @return true when the screen differs from the lists; screen texts are compared untrimmed */
[[nodiscard]] bool differs(const ScreenValues &screen, const QStringList &dialUp,
                           const QStringList &autoConnect);

} // namespace paramlist
