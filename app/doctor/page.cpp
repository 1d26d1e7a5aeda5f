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
    QString &first = state == Failure ? firstFailure : firstWarning;
    if (state != Ok && first.isEmpty())
        first = line;
}

QString Page::cause() const
{
    if (hasFailure())
        return "Most probable cause: " + firstFailure;
    return "No failure was found" +
           (firstWarning.isEmpty() ? "" : ". Look first at this: " + firstWarning);
}

QByteArray Page::text() const
{
    QString page;
    QString group;
    for (const QJsonValue finding : allFindings) {
        if (const QString next = finding["group"].toString(); next != group)
            page += (group = next) + '\n';
        page +=
            "  " + finding["state"].toString().leftJustified(9) + finding["text"].toString() + '\n';
    }
    return (page + '\n' + cause() + ".\n").toUtf8();
}

QByteArray Page::json() const
{
    const QJsonObject page{{"findings", allFindings}, {"cause", cause()}, {"failed", hasFailure()}};
    return QJsonDocument(page).toJson();
}

} // namespace doctor
