// The findings of corvanta-doctor, as a page for people or as JSON for programs.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace doctor
{

/** Groups of findings, the most probable cause of a missing link first. */
enum class Group { Dongle, Network, Board, Parameters, Link, Screen, Service };

enum class State { Ok, Warning, Failure };

class Page
{
public:
    /** Start a group: the next findings belong to it. */
    void begin(Group group) { currentGroup = group; }

    /** Add a finding. @param text what was found, without a full stop; @param remedy what to do */
    void add(State state, const QString &text, const QString &remedy = {});
    void ok(const QString &text) { add(State::Ok, text); }
    void warn(const QString &text, const QString &remedy) { add(State::Warning, text, remedy); }
    void fail(const QString &text, const QString &remedy) { add(State::Failure, text, remedy); }

    [[nodiscard]] bool hasFailure() const;

    /** Return the page in UTF-8, one line for each finding; the last line names the cause. */
    [[nodiscard]] QByteArray text() const;

    /** Return an object with "findings", "cause" and "failed". */
    [[nodiscard]] QByteArray json() const;

private:
    struct Finding {
        Group group;
        State state;
        QString text; ///< one line of printable text, with the remedy
    };

    [[nodiscard]] QString cause() const;

    QList<Finding> allFindings;
    Group currentGroup = Group::Board;
};

} // namespace doctor
