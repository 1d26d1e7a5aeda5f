#include "core/paramlist.h"

#include "core/lineencoding.h"

namespace paramlist
{

namespace
{

bool isAsciiSpace(QChar c)
{
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

} // namespace

QString trimmed(const QString &text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isAsciiSpace(text[begin]))
        ++begin;
    while (end > begin && isAsciiSpace(text[end - 1]))
        --end;
    return text.mid(begin, end - begin);
}

QString decodeLine(const QByteArray &line)
{
    const qsizetype nul = line.indexOf('\0');
    return trimmed(lineencoding::decode(nul < 0 ? line : line.left(nul)));
}

QStringList parseLines(const QByteArray &content)
{
    QStringList lines;
    for (qsizetype begin = 0; begin < content.size();) {
        qsizetype end = content.indexOf('\n', begin);
        if (end < 0)
            end = content.size();
        lines.append(decodeLine(content.mid(begin, end - begin)));
        begin = end + 1;
    }
    return lines;
}

QStringList dialUpDefaults()
{
    return {QString(), QString(), QString(), QString(), QString(), QStringLiteral("0")};
}

QStringList autoConnectDefaults()
{
    return {QStringLiteral("1"), QStringLiteral("5")};
}

QString dialUpEntry(const QStringList &list, DialUpIndex index)
{
    return index < list.size() ? list[index] : dialUpDefaults().at(index);
}

QString autoConnectEntry(const QStringList &list, AutoConnectIndex index)
{
    return index < list.size() ? list[index] : autoConnectDefaults().at(index);
}

int authMethod(const QStringList &list)
{
    return dialUpEntry(list, AuthMethod).toInt();
}

std::optional<DialUpValues> dialUpValues(const QStringList &list)
{
    if (list.size() < DialUpCount)
        return std::nullopt;
    return DialUpValues{list[Apn],      list[DialNumber], list[User],
                        list[Password], list[Pin],        authMethod(list)};
}

std::optional<AutoConnectValues> autoConnectValues(const QStringList &list)
{
    if (list.size() < AutoConnectCount)
        return std::nullopt;
    const bool yes = list[AutoFlag].toInt() == 0;
    return AutoConnectValues{yes ? AutoChoice::Yes : AutoChoice::No, list[Counts]};
}

QStringList dialUpLines(const DialUpValues &screen)
{
    return {trimmed(screen.apn),  trimmed(screen.dialNumber),
            trimmed(screen.user), trimmed(screen.password),
            trimmed(screen.pin),  QString::number(screen.authMethod)};
}

QStringList autoConnectLines(const AutoConnectValues &screen)
{
    const bool yes = screen.choice == AutoChoice::Yes;
    return {yes ? QStringLiteral("0") : QStringLiteral("1"), trimmed(screen.counts)};
}

bool differs(const ScreenValues &screen, const QStringList &dialUp, const QStringList &autoConnect)
{
    const DialUpValues &values = screen.dialUp;
    const AutoChoice choice = screen.autoConnect.choice;
    const QString flag = autoConnectEntry(autoConnect, AutoFlag);
    return values.apn != dialUpEntry(dialUp, Apn) ||
           values.dialNumber != dialUpEntry(dialUp, DialNumber) ||
           values.user != dialUpEntry(dialUp, User) ||
           values.password != dialUpEntry(dialUp, Password) ||
           values.pin != dialUpEntry(dialUp, Pin) || values.authMethod != authMethod(dialUp) ||
           (choice == AutoChoice::Yes && flag == u"1") ||
           (choice == AutoChoice::No && flag == u"0") ||
           screen.autoConnect.counts != autoConnectEntry(autoConnect, Counts);
}

} // namespace paramlist
