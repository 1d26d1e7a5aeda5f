#include "core/secretmask.h"

#include <QRegularExpression>
#include <algorithm>

namespace
{

constexpr qsizetype MinSecretLength = 3;
constexpr char Stars[] = "********";

struct Pattern {
    const char *expression;
    const char *replacement;
};

constexpr Pattern Patterns[] = {
    {R"((CPIN=\\?"?)[^"\\^\r\n]*)", R"(\1********)"},
    {R"x((?i)\b((?:user|password|name)\s*=?\s*)"(?:\\.|[^"\\\n])*")x", R"x(\1"********")x"},
    {R"((?m)^(\s*(?:user|password|name|remotename)[ \t]+)\S.*$)", R"(\1********)"},
    {R"([0-9A-Fa-f]{16,}|\+?[0-9]{7,})", "********"},
};

} // namespace

QByteArray withoutSecrets(const QByteArray &text, QList<QByteArray> secrets)
{
    // Longest first, because a secret may contain another one.
    std::sort(secrets.begin(), secrets.end(), [](const QByteArray &one, const QByteArray &other) {
        return one.size() > other.size();
    });
    QByteArray bytes = text;
    for (const QByteArray &secret : secrets) {
        if (secret.size() >= MinSecretLength)
            bytes.replace(secret, Stars);
    }
    QString masked = QString::fromLatin1(bytes); // preserves every byte
    for (const Pattern &pattern : Patterns)
        masked.replace(QRegularExpression(pattern.expression), pattern.replacement);
    return masked.toLatin1();
}
