#include "formats/streams/ByteText.h"

#include "formats/streams/Windows1252.h"

#include <QStringDecoder>
#include <optional>

namespace velloria::ByteText
{

namespace
{

std::optional<QString> utf8String(const QByteArray& text)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString string = decoder(text);
    return decoder.hasError() ? std::nullopt : std::optional(string);
}

} // namespace

QByteArray bytesOfText(QByteArrayView value)
{
    const qsizetype zero = value.indexOf('\0');
    return (zero < 0 ? value : value.first(zero)).toByteArray();
}

bool isUtf8(const QByteArray& text)
{
    return utf8String(text).has_value();
}

QString stringOf(const QByteArray& text)
{
    const std::optional<QString> string = utf8String(text);
    return string ? *string : stringFromWindows1252(text);
}

QByteArray textOf(const QString& string, bool isAmongWindows1252)
{
    const std::optional<QByteArray> windows1252 =
        isAmongWindows1252 ? windows1252FromString(string) : std::nullopt;
    // Some words would be taken for UTF-8.
    return windows1252 && stringOf(*windows1252) == string ? *windows1252 : string.toUtf8();
}

} // namespace velloria::ByteText
