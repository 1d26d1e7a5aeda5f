#include "app/provision/settings.h"

#include "core/pppdwords.h"

#include <array>

namespace settings
{
namespace
{

using paramlist::AutoChoice;
using paramlist::ScreenValues;

constexpr qsizetype MaxFieldLength = 32767; // UTF-16 code units, as in QLineEdit
constexpr std::array<const char *, paramlist::MethodCount> Methods = {"AUTO", "PAP", "CHAP"};

/** @return why a text cannot be stored; empty when it can */
QString textError(const QByteArray &bytes)
{
    const QString text = QString::fromUtf8(bytes);
    if (text.toUtf8() != bytes)
        return QStringLiteral("is not valid UTF-8");
    if (text.size() > MaxFieldLength)
        return QStringLiteral("is longer than %1 characters").arg(MaxFieldLength);
    if (paramlist::parseLines(bytes + '\n') != QStringList(text))
        return QStringLiteral("has a newline or a NUL, or starts or ends with white space");
    return {};
}

/** @return the text with this name; null when no text has it */
QString *textField(const QByteArray &name, ScreenValues &values)
{
    if (name == "apn")
        return &values.dialUp.apn;
    if (name == "dial")
        return &values.dialUp.dialNumber;
    if (name == "user")
        return &values.dialUp.user;
    if (name == "password")
        return &values.dialUp.password;
    if (name == "pin")
        return &values.dialUp.pin;
    return name == "counts" ? &values.autoConnect.counts : nullptr;
}

QString applyMethod(const QByteArray &value, int &method)
{
    for (size_t i = 0; i < Methods.size(); ++i) {
        if (value == Methods[i]) {
            method = static_cast<int>(i);
            return {};
        }
    }
    return QStringLiteral("must be AUTO, PAP or CHAP");
}

QString applyChoice(const QByteArray &value, AutoChoice &choice)
{
    if (value != "YES" && value != "NO")
        return QStringLiteral("must be YES or NO");
    choice = value == "YES" ? AutoChoice::Yes : AutoChoice::No;
    return {};
}

QString applyValue(const QByteArray &name, const QByteArray &value, ScreenValues &values)
{
    if (QString *text = textField(name, values)) {
        QString error = textError(value);
        if (error.isEmpty())
            *text = QString::fromUtf8(value);
        return error;
    }
    if (name == "auth")
        return applyMethod(value, values.dialUp.authMethod);
    return applyChoice(value, values.autoConnect.choice);
}

} // namespace

QString help()
{
    return QStringLiteral("  apn=TEXT            APN\n"
                          "  dial=TEXT           dial number\n"
                          "  user=TEXT           user name\n"
                          "  password=TEXT       password\n"
                          "  pin=TEXT            SIM PIN; empty to send none\n"
                          "  auth=METHOD         AUTO, PAP or CHAP\n"
                          "  auto-connect=YES|NO Auto Connect, stored for other programs\n"
                          "  counts=TEXT         Counts, stored for other programs\n");
}

QString listed(const ScreenValues &values)
{
    const auto star = [](const QString &secret) {
        return secret.isEmpty() ? QString() : QStringLiteral("********");
    };
    const paramlist::DialUpValues &dialUp = values.dialUp;
    const bool hasMethod = dialUp.authMethod >= 0;
    return QStringLiteral("apn=%1\ndial=%2\nuser=%3\n")
               .arg(dialUp.apn, dialUp.dialNumber, dialUp.user) +
           QStringLiteral("password=%1\npin=%2\nauth=%3\nauto-connect=%4\n")
               .arg(star(dialUp.password), star(dialUp.pin),
                    QLatin1String(hasMethod ? Methods.at(dialUp.authMethod) : ""),
                    values.autoConnect.choice == AutoChoice::Yes ? QStringLiteral("YES")
                                                                 : QStringLiteral("NO")) +
           QStringLiteral("counts=%1\n").arg(values.autoConnect.counts);
}

QString apply(const QByteArray &setting, bool asIs, ScreenValues &values)
{
    const qsizetype equals = setting.indexOf('=');
    const QByteArray name = setting.left(equals);
    // No message repeats the value or the whole text: either may be a secret.
    if (equals < 0)
        return QStringLiteral("is not of the form NAME=VALUE");
    if (!asIs && (name == "user" || name == "password") && !isOnePppdWord(setting.mid(equals + 1)))
        return QString::fromUtf8(name) +
               QStringLiteral(" is not one word for pppd, which would read the rest as options: "
                              "quote it, or give --as-is");
    if (textField(name, values) == nullptr && name != "auth" && name != "auto-connect")
        return QStringLiteral("is not a known parameter");
    const QString error = applyValue(name, setting.mid(equals + 1), values);
    return error.isEmpty() ? error : QString::fromUtf8(name) + u' ' + error;
}

} // namespace settings
