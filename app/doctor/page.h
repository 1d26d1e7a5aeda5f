// The findings of corvanta-doctor, as a page for people or as JSON for programs.
#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QString>

namespace doctor
{

inline constexpr char Ok[] = "ok";
inline constexpr char Warning[] = "warning";
inline constexpr char Failure[] = "failure";

/** A possible fault. Texts have no full stop; control characters in them are replaced. */
struct Fault {
    bool present;   ///< true when the fault was found
    QString text;   ///< what was found
    QString remedy; ///< what to do
    const char *state = Failure;
};

/** Findings in groups. The first failure is reported as the most probable cause of a missing link.
 *  If there is no failure, the first warning is named instead. */
class Page
{
public:
    /** Start a group: the next findings belong to it. */
    void begin(const QString &group) { currentGroup = group; }

    /** Add a finding that is not a fault. */
    void ok(const QString &text) { add(Ok, text); }

    /** Add the first fault that is present. If there is none, add a finding that is not a fault.
     *  @param text text of that finding; empty to add none
     *  @return true when no fault is present */
    bool check(const QList<Fault> &faults, const QString &text = {});

    [[nodiscard]] bool hasFailure() const { return !firstFailure.isEmpty(); }

    /** Return the page in UTF-8, one line for each finding; the last line names the cause. */
    [[nodiscard]] QByteArray text() const;

    /** Return an object with "findings", "cause" and "failed". */
    [[nodiscard]] QByteArray json() const;

private:
    void add(const QString &state, const QString &text);
    [[nodiscard]] QString cause() const;

    QString currentGroup;
    QString firstFailure; ///< text of the first finding that is a failure
    QString firstWarning;
    QJsonArray allFindings; ///< objects with "group", "state" and "text", which is one line
};

} // namespace doctor
