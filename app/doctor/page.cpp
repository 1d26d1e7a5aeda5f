#include "app/doctor/page.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <tuple>

namespace doctor
{

namespace
{

constexpr qsizetype MaxText = 400;
constexpr const char *GroupNames[] = {"dongle", "SIM and network", "board",  "parameters",
                                      "link",   "screen",          "service"};
constexpr const char *StateNames[] = {"ok", "warning", "failure"};

const char *nameOf(Group group)
{
    return GroupNames[static_cast<int>(group)];
}

const char *nameOf(State state)
{
    return StateNames[static_cast<int>(state)];
}

/** Replace what could colour or move a terminal: control and format characters, line breaks. */
QString printable(QString text)
{
    text.truncate(MaxText);
    for (QChar &c : text) {
        if (c.isSpace())
            c = u' ';
        else if (!c.isPrint())
            c = QChar::ReplacementCharacter;
    }
    return text;
}

} // namespace

void Page::add(State state, const QString &text, const QString &remedy)
{
    QString line = printable(text);
    if (!remedy.isEmpty())
        line += ". To do: " + printable(remedy);
    allFindings.append({currentGroup, state, line});
}

bool Page::hasFailure() const
{
    return std::any_of(allFindings.begin(), allFindings.end(),
                       [](const Finding &finding) { return finding.state == State::Failure; });
}

QString Page::cause() const
{
    const auto worst = std::min_element(
        allFindings.begin(), allFindings.end(), [](const Finding &one, const Finding &other) {
            return std::tuple(other.state, one.group) < std::tuple(one.state, other.group);
        });
    if (worst == allFindings.end() || worst->state == State::Ok)
        return "No failure was found";
    return (worst->state == State::Failure ? "Most probable cause: "
                                           : "No failure was found. Look first at this: ") +
           worst->text;
}

QByteArray Page::text() const
{
    QString page;
    const Finding *previous = nullptr;
    for (const Finding &finding : allFindings) {
        if (previous == nullptr || previous->group != finding.group)
            page += QString(nameOf(finding.group)) + '\n';
        page += QString("  %1  ").arg(nameOf(finding.state), -7) + finding.text + '\n';
        previous = &finding;
    }
    return (page + '\n' + cause() + ".\n").toUtf8();
}

QByteArray Page::json() const
{
    QJsonArray findings;
    for (const Finding &finding : allFindings)
        findings.append(QJsonObject{{"group", nameOf(finding.group)},
                                    {"state", nameOf(finding.state)},
                                    {"text", finding.text}});
    return QJsonDocument(
               QJsonObject{{"findings", findings}, {"cause", cause()}, {"failed", hasFailure()}})
        .toJson();
}

} // namespace doctor
