#include "core/dialcheck.h"

#include "core/pppdwords.h"

#include <algorithm>

namespace dialcheck
{

namespace
{

constexpr qsizetype MinPinDigits = 4;
constexpr qsizetype MaxPinDigits = 8;

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

/** @param name "user" or "password" */
void checkPppdWord(const QString &name, const QString &value, QList<Finding> &findings)
{
    const QByteArray bytes = value.toUtf8();
    const PppdWords read = splitPppdWords(bytes);
    if (read.hasOpenQuote) {
        findings.append({name + QStringLiteral(" has an unclosed quotation mark: pppd reads "
                                               "on to the end of the peer file and does not dial"),
                         false});
    } else if (!isOnePppdWord(bytes)) {
        findings.append({name + QStringLiteral(" is not one word for pppd, which would read the "
                                               "rest as options or reject the peer file: enclose "
                                               "the value in double quotes"),
                         false});
    } else if (read.words.value(0) != bytes) {
        const QString text = QString::fromUtf8(read.words.value(0));
        findings.append({name == u"user"
                             ? QStringLiteral("pppd reads user as: ") + text
                             : QStringLiteral("pppd reads %1 of the %2 characters of "
                                              "%3: it removes quotes, escapes and comments")
                                   .arg(text.size())
                                   .arg(value.size())
                                   .arg(name)});
    }
}

void checkUser(const paramlist::DialUpValues &values, QList<Finding> &findings)
{
    const bool hasUser = !values.user.isEmpty();
    const bool hasPassword = !values.password.isEmpty();
    if (!hasUser && !hasPassword)
        findings.append({QStringLiteral("user and password are empty: this works only in networks "
                                        "without authentication")});
    else if (!hasUser)
        findings.append({QStringLiteral("user is empty and password is not: pppd rejects the peer "
                                        "file; for an empty user name store user='\"\"'"),
                         false});
    else if (!hasPassword)
        findings.append({QStringLiteral("password is empty and user is not: pppd rejects the peer "
                                        "file; for an empty password store password='\"\"'"),
                         false});
    if (hasUser)
        checkPppdWord(QStringLiteral("user"), values.user, findings);
    if (hasPassword)
        checkPppdWord(QStringLiteral("password"), values.password, findings);
}

void checkMethod(int method, NetworkSecrets secrets, QList<Finding> &findings)
{
    if (method == paramlist::Auto)
        return;
    const QString name = method == paramlist::Pap    ? QStringLiteral("auth=PAP")
                         : method == paramlist::Chap ? QStringLiteral("auth=CHAP")
                                                     : QStringLiteral("auth without a method");
    const bool hasSecret = method == paramlist::Pap    ? secrets.pap
                           : method == paramlist::Chap ? secrets.chap
                                                       : secrets.pap || secrets.chap;
    const QString demand =
        name + QStringLiteral(" requires the network to authenticate itself to the board");
    if (hasSecret)
        findings.append(
            {demand +
             QStringLiteral("; pppd dials only if its secrets files have an entry for it")});
    else
        findings.append({demand + QStringLiteral(", and pppd has no secret for it: it exits before "
                                                 "it dials; use auth=AUTO"),
                         false});
}

/** @return true when the value has an unescaped \, ^ or $, which chat replaces */
bool hasChatEscape(const QString &value)
{
    static const QString special = QStringLiteral("\\^$");
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (!special.contains(value[i]))
            continue;
        if (value[i] != u'\\' || i + 1 == value.size() || !special.contains(value[i + 1]))
            return true;
        ++i;
    }
    return false;
}

void checkChatText(const QString &name, const QString &value, QList<Finding> &findings)
{
    if (value.contains(u'\''))
        findings.append({name + QStringLiteral(" has a single quote: chat takes the rest of the "
                                               "value for the next word and fails"),
                         false});
    if (hasChatEscape(value))
        findings.append(
            {QStringLiteral("chat interprets \\, ^ and $ in %1: store \\\\, \\^ and \\$ "
                            "to send them")
                 .arg(name)});
}

} // namespace

QList<Finding> check(const paramlist::DialUpValues &values, NetworkSecrets secrets)
{
    QList<Finding> findings;
    checkUser(values, findings);
    checkMethod(values.authMethod, secrets, findings);
    checkChatText(QStringLiteral("apn"), values.apn, findings);
    checkChatText(QStringLiteral("dial"), values.dialNumber, findings);
    if (values.dialNumber.isEmpty())
        findings.append({QStringLiteral("dial is empty: the modem gets no number to call"), false});
    const QString &pin = values.pin;
    if (!pin.isEmpty() && (pin.size() < MinPinDigits || pin.size() > MaxPinDigits ||
                           !std::all_of(pin.begin(), pin.end(), isDigit)))
        findings.append({QStringLiteral("pin is not 4 to 8 digits: the SIM rejects it, and each "
                                        "rejection uses up one of three attempts"),
                         false});
    return findings;
}

} // namespace dialcheck
