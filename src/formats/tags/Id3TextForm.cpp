#include "formats/tags/Id3TextForm.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

const QString valueSeparator = QStringLiteral("; ");

bool isLatin1(const QString& text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() <= 0xFF; });
}

QByteArray utf16(const QString& text, bool isBigEndian)
{
    QByteArray bytes(2 * text.size(), Qt::Uninitialized);
    if (isBigEndian)
        qToBigEndian<quint16>(text.utf16(), text.size(), bytes.data());
    else
        qToLittleEndian<quint16>(text.utf16(), text.size(), bytes.data());
    return bytes;
}

bool hasWideLetters(uint8_t encoding)
{
    return encoding == Id3Encoding::utf16 || encoding == Id3Encoding::utf16BigEndian;
}

} // namespace

Id3TextForm Id3TextForm::ofText(uint8_t encoding, QByteArrayView text)
{
    Id3TextForm form;
    form.encoding = encoding;
    form.isBigEndian = encoding == Id3Encoding::utf16 && text.startsWith("\xFE\xFF");
    form.isTerminated = hasWideLetters(encoding)
                            ? text.size() % 2 == 0 && text.endsWith(QByteArrayView("\0\0", 2))
                            : text.endsWith('\0');
    return form;
}

Id3TextForm Id3TextForm::holding(const QString& text, int version) const
{
    if (encoding != Id3Encoding::latin1 || isLatin1(text))
        return *this;
    return {version == 4 ? Id3Encoding::utf8 : Id3Encoding::utf16, false, isTerminated};
}

QByteArray Id3TextForm::encoded(const QString& text) const
{
    const QString whole = isTerminated ? text + QChar::Null : text;
    switch (encoding) {
    case Id3Encoding::latin1:
        return whole.toLatin1();
    case Id3Encoding::utf16:
        return utf16(QChar(QChar::ByteOrderMark) + whole, isBigEndian);
    case Id3Encoding::utf16BigEndian:
        return utf16(whole, true);
    default:
        return whole.toUtf8();
    }
}

QByteArray Id3TextForm::terminated(const QString& text) const
{
    return Id3TextForm{encoding, isBigEndian, true}.encoded(text);
}

QByteArray id3TextPayload(const QString& text, QByteArrayView before, const Id3TextForm& otherwise,
                          int version)
{
    Id3TextForm form = otherwise;
    QString values = text;
    if (!before.isEmpty() && static_cast<uint8_t>(before[0]) <= Id3Encoding::utf8) {
        const auto encoding = static_cast<uint8_t>(before[0]);
        form = Id3TextForm::ofText(encoding, before.sliced(1));
        if (decodeId3Values(encoding, before.sliced(1)).size() > 1)
            values.replace(valueSeparator, QString(QChar::Null));
    }
    form = form.holding(text, version);
    return static_cast<char>(form.encoding) + form.encoded(values);
}

QByteArray id3CommentPayload(const QString& text, QByteArrayView before, const Id3TextForm& otherwise,
                             int version)
{
    constexpr qsizetype headerLength = 4;
    Id3TextForm form = otherwise;
    QByteArray language = "eng";
    QString description;
    if (before.size() >= headerLength && static_cast<uint8_t>(before[0]) <= Id3Encoding::utf8) {
        const auto encoding = static_cast<uint8_t>(before[0]);
        language = before.sliced(1, 3).toByteArray();
        if (const auto described = splitId3Description(encoding, before.sliced(headerLength))) {
            description = described->description;
            form = Id3TextForm::ofText(encoding, described->content);
        }
    }
    form = form.holding(description + text, version);
    QByteArray content = form.encoded(text);
    // A single byte would be taken for what is left of an empty text.
    if (content.size() <= 1)
        content = form.terminated(text);
    return static_cast<char>(form.encoding) + language + form.terminated(description) + content;
}

} // namespace velloria
