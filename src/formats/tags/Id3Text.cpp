#include "formats/tags/Id3Text.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

constexpr QChar byteOrderMark(QChar::ByteOrderMark);
constexpr bool machineIsBigEndian = Q_BYTE_ORDER == Q_BIG_ENDIAN;

bool isUtf16(uint8_t encoding)
{
    return encoding == Id3Encoding::utf16 || encoding == Id3Encoding::utf16BigEndian;
}

bool startsWithByteOrderMark(QByteArrayView bytes)
{
    return bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF");
}

/// Without a mark, encoding 2 is big-endian, as the standard has it. Encoding 1 promises a mark; a program
/// that forgot it has most likely written its machine's order, which is taken to be ours. An odd byte at
/// the end (half a terminator) is left out.
QString decodeUtf16(uint8_t encoding, QByteArrayView bytes)
{
    bool isBigEndian = encoding == Id3Encoding::utf16BigEndian || machineIsBigEndian;
    if (startsWithByteOrderMark(bytes)) {
        isBigEndian = bytes.startsWith("\xFE\xFF");
        bytes = bytes.sliced(2);
    }
    const qsizetype numUnits = bytes.size() / 2;
    QString text(numUnits, Qt::Uninitialized);
    if (isBigEndian)
        qFromBigEndian<quint16>(bytes.data(), numUnits, text.data());
    else
        qFromLittleEndian<quint16>(bytes.data(), numUnits, text.data());
    return text;
}

QString decode(uint8_t encoding, QByteArrayView bytes)
{
    if (isUtf16(encoding))
        return decodeUtf16(encoding, bytes);
    if (encoding == Id3Encoding::latin1)
        return QString::fromLatin1(bytes);
    return encoding == Id3Encoding::utf8 ? QString::fromUtf8(bytes) : QString();
}

qsizetype indexOfZeroPair(QByteArrayView bytes)
{
    for (qsizetype i = 0; i + 1 < bytes.size(); i += 2) {
        if (bytes[i] == 0 && bytes[i + 1] == 0)
            return i;
    }
    return -1;
}

/// Programs (this one with comments) that end an empty UTF-16 description with a single zero byte show by
/// what follows it: the byte-order mark of a text, or the start of a JPEG or PNG image.
bool hasSingleByteTerminator(QByteArrayView bytes)
{
    if (!bytes.startsWith('\0'))
        return false;
    const QByteArrayView next = bytes.sliced(1);
    return startsWithByteOrderMark(next) || next.startsWith("\xFF\xD8") || next.startsWith("\x89PN");
}

} // namespace

QStringList decodeId3Values(uint8_t encoding, QByteArrayView bytes)
{
    const QString text = decode(encoding, bytes);
    const bool isList = text.contains(QChar::Null);
    QStringList values;
    for (qsizetype start = 0, end = 0; start < text.size(); start = end + 1) {
        end = text.indexOf(QChar::Null, start);
        if (end < 0)
            end = text.size();
        QStringView value = QStringView(text).sliced(start, end - start);
        // Each value of a list may carry a mark of its own.
        while (isList && value.startsWith(byteOrderMark))
            value = value.sliced(1);
        if (!value.isEmpty())
            values.append(value.toString());
    }
    return values;
}

QString decodeId3Text(uint8_t encoding, QByteArrayView bytes)
{
    return decodeId3Values(encoding, bytes).join(QStringLiteral("; "));
}

Id3EncodedText encodeId3Text(const QString& text)
{
    Id3EncodedText encoded;
    const bool isLatin1 =
        std::all_of(text.begin(), text.end(), [](QChar character) { return character.unicode() <= 0xFF; });
    if (isLatin1) {
        encoded.bytes = text.toLatin1();
        if (!encoded.bytes.endsWith('\0'))
            encoded.bytes.append('\0');
        return encoded;
    }
    QString marked = byteOrderMark + text;
    // A zero low byte of the last character does not end the text for any reader, so only a whole zero
    // character counts as a terminator.
    if (!marked.endsWith(QChar::Null))
        marked.append(QChar::Null);
    encoded.encoding = Id3Encoding::utf16;
    encoded.bytes = QByteArray(reinterpret_cast<const char*>(marked.utf16()), 2 * marked.size());
    return encoded;
}

QByteArray encodeId3Address(const QString& text)
{
    const bool isLatin1 = std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() <= 0xFF; });
    if (isLatin1)
        return text.toLatin1();
    QByteArray address;
    for (const char byte : text.toUtf8()) {
        if (static_cast<uint8_t>(byte) < 0x80)
            address += byte;
        else
            address += '%' + QByteArray(1, byte).toHex().toUpper();
    }
    return address;
}

std::optional<Id3DescribedData> splitId3Description(uint8_t encoding, QByteArrayView bytes)
{
    const bool wantsPair = isUtf16(encoding) && !hasSingleByteTerminator(bytes);
    const qsizetype pair = wantsPair ? indexOfZeroPair(bytes) : -1;
    const qsizetype end = pair >= 0 ? pair : bytes.indexOf('\0');
    if (end < 0)
        return std::nullopt;
    const qsizetype terminatorLength = pair >= 0 ? 2 : 1;
    return Id3DescribedData{decodeId3Text(encoding, bytes.first(end)), bytes.sliced(end + terminatorLength)};
}

std::optional<Id3Comment> decodeId3Comment(QByteArrayView payload)
{
    constexpr qsizetype headerLength = 4;
    if (payload.size() < headerLength)
        return std::nullopt;
    const auto encoding = static_cast<uint8_t>(payload[0]);
    const auto described = splitId3Description(encoding, payload.sliced(headerLength));
    if (!described || encoding > Id3Encoding::utf8)
        return std::nullopt;

    QByteArrayView content = described->content;
    if (isUtf16(encoding)) {
        while (content.size() >= 2 && content[0] == 0 && content[1] == 0)
            content = content.sliced(2);
    } else {
        while (content.startsWith('\0'))
            content = content.sliced(1);
    }
    QString language = QString::fromLatin1(payload.sliced(1, 3));
    language.remove(QChar::Null);
    return Id3Comment{language, described->description, decodeId3Text(encoding, content),
                      content.size() <= 1};
}

} // namespace velloria
