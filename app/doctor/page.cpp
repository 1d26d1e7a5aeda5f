#include "app/doctor/page.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace doctor
{

bool Page::check(const QList<Fault> &faults, const QString &text)
{
    for (const Fault &fault : faults) {
        if (fault.present) {
            add(fault.state, fault.text + ". To do: " + fault.remedy);
            return false;
        }
    }
    if (!text.isEmpty())
        ok(text);
    return true;
}

/** Add one line, without control characters, which could change the terminal's state. */
void Page::add(const QString &state, const QString &text)
{
    constexpr qsizetype MaxLength = 600;
    QString line = text.left(MaxLength);
    for (QChar &c : line) {
        if (c.isSpace())
            c = u' ';
        else if (!c.isPrint())
            c = QChar::ReplacementCharacter;
    }
    allFindings.append(QJsonObject{{"group", currentGroup}, {"state", state}, {"text", line}});
}

QString Page::firstOf(const QString &state) const
{
    for (const QJsonValue finding : allFindings) {
        if (finding["state"] == state)
            return finding["text"].toString();
    }
    return {};
}

QString Page::cause() const
{
    if (hasFailure())
        return "Most probable cause: " + firstOf(Failure);
    const QString warning = firstOf(Warning);
    return "No failure was found" + (warning.isEmpty() ? "" : ". Look first at this: " + warning);
}

QByteArray Page::text() const
{
    QString page;
    QString group;
    for (const QJsonValue finding : allFindings) {
        if (const QString next = finding["group"].toString(); next != group)
            page += (group = next) + '\n';
        page += QString("  %1  ").arg(finding["state"].toString(), -7) +
                finding["text"].toString() + '\n';
    }
    return (page + '\n' + cause() + ".\n").toUtf8();
}

QByteArray Page::json() const
{
    const QJsonObject page{{"findings", allFindings}, {"cause", cause()}, {"failed", hasFailure()}};
    return QJsonDocument(page).toJson();
}

} // namespace doctor
