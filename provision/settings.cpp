#include "provision/settings.h"

#include "core/pppdwords.h"

#include <array>

namespace settings
{
namespace
{

using paramlist::AutoChoice;
using paramlist::ScreenValues;

constexpr qsizetype FieldLength = 32767; // UTF-16 code units, as many as a line edit takes
constexpr std::array<const char *, 3> Methods = {"AUTO", "PAP", "CHAP"};

/** @return what keeps a text from being stored, or nothing */
QString fault(const QByteArray &bytes)
{
    const QString text = QString::fromUtf8(bytes);
    if (text.toUtf8() != bytes)
        return QStringLiteral("is not UTF-8");
    if (text.size() > FieldLength)
        return QStringLiteral("is longer than %1 characters").arg(FieldLength);
    if (paramlist::parse(bytes + '\n') != QStringList(text))
        return QStringLiteral("has a line end, a NUL, or white space at an end");
    return {};
}

/** @return where a name stores its text; null for a name of another kind */
QString *textOf(const QByteArray &name, ScreenValues &values)
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
    return QStringLiteral("is none of AUTO, PAP, CHAP");
}

QString applyChoice(const QByteArray &value, AutoChoice &choice)
{
    if (value != "YES" && value != "NO")
        return QStringLiteral("is none of YES, NO");
    choice = value == "YES" ? AutoChoice::Yes : AutoChoice::No;
    return {};
}

QString applyValue(const QByteArray &name, const QByteArray &value, ScreenValues &values)
{
    if (QString *text = textOf(name, values)) {
        QString wrong = fault(value);
        if (wrong.isEmpty())
            *text = QString::fromUtf8(value);
        return wrong;
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
                          "  pin=TEXT            PIN of the SIM; empty: none is sent\n"
                          "  auth=METHOD         AUTO, PAP or CHAP\n"
                          "  auto-connect=YES|NO Auto Connect, which is stored for others\n"
                          "  counts=TEXT         Counts, which is stored for others\n");
}

QString apply(const QByteArray &setting, bool asIs, ScreenValues &values)
{
    const qsizetype equals = setting.indexOf('=');
    const QByteArray name = setting.left(equals);
    // The value may be a secret, which no message repeats; so may all of it.
    if (equals < 0)
        return QStringLiteral("is not NAME=VALUE");
    if (!asIs && (name == "user" || name == "password") && !isOnePppdWord(setting.mid(equals + 1)))
        return QString::fromUtf8(name) +
               QStringLiteral(" is not one word for pppd, which would take the rest for options: "
                              "quote it, or give --as-is");
    if (textOf(name, values) == nullptr && name != "auth" && name != "auto-connect")
        return QStringLiteral("names no parameter");
    const QString wrong = applyValue(name, setting.mid(equals + 1), values);
    return wrong.isEmpty() ? wrong : QString::fromUtf8(name) + u' ' + wrong;
}

} // namespace settings
