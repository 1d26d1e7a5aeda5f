#include "core/lineencoding.h"

#include <QStringDecoder>
#include <optional>

namespace lineencoding
{

namespace
{

QByteArray encodeSurrogate(QChar half)
{
    const ushort code = half.unicode();
    const char bytes[] = {char(0xE0 | code >> 12), char(0x80 | (code >> 6 & 0x3F)),
                          char(0x80 | (code & 0x3F))};
    return QByteArray(bytes, sizeof bytes);
}

bool isEncodedSurrogate(const QByteArray &bytes, qsizetype at)
{
    return at + 2 < bytes.size() && uchar(bytes[at]) == 0xED && uchar(bytes[at + 1]) >= 0xA0 &&
           uchar(bytes[at + 1]) <= 0xBF && (uchar(bytes[at + 2]) & 0xC0) == 0x80;
}

QChar decodeSurrogate(const QByteArray &bytes, qsizetype at)
{
    return QChar(0xD000 | (uchar(bytes[at + 1]) & 0x3F) << 6 | (uchar(bytes[at + 2]) & 0x3F));
}

std::optional<QString> decodeUtf8(const QByteArray &bytes)
{
    // Keep a leading byte-order mark: it was typed as a character.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    const QString text = decoder.decode(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

} // namespace

QByteArray encode(const QString &text)
{
    QByteArray bytes;
    qsizetype begin = 0;
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (!text[at].isSurrogate())
            continue;
        const bool pair =
            text[at].isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
        if (pair) {
            ++at;
            continue;
        }
        bytes += text.mid(begin, at - begin).toUtf8() + encodeSurrogate(text[at]);
        begin = at + 1;
    }
    return bytes + text.mid(begin).toUtf8();
}

QString decode(const QByteArray &bytes)
{
    QString text;
    qsizetype begin = 0;
    for (qsizetype at = 0; at <= bytes.size(); ++at) {
        const bool surrogate = isEncodedSurrogate(bytes, at);
        if (!surrogate && at < bytes.size())
            continue;
        const std::optional<QString> piece = decodeUtf8(bytes.mid(begin, at - begin));
        if (!piece)
            return QString::fromLatin1(bytes);
        text += *piece;
        if (surrogate) {
            text += decodeSurrogate(bytes, at);
            begin = at + 3;
            at += 2;
        }
    }
    return text;
}

QByteArray encodeLines(const QStringList &lines)
{
    QByteArray content;
    for (const QString &line : lines)
        content += encode(line) + '\n';
    return content;
}

} // namespace lineencoding
