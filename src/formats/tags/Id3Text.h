#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>

namespace velloria
{

/// The byte in front of an ID3 text that tells its encoding.
namespace Id3Encoding
{
constexpr uint8_t latin1 = 0;
constexpr uint8_t utf16 = 1;
constexpr uint8_t utf16BigEndian = 2;
constexpr uint8_t utf8 = 3;
} // namespace Id3Encoding

/// The text of encoded bytes; empty for an encoding that does not exist. Several values separated by NULs
/// come out joined by "; ", so the text holds no NUL, at its end least of all.
QString decodeId3Text(uint8_t encoding, QByteArrayView bytes);

/// The same values one by one; those that are empty are left out.
QStringList decodeId3Values(uint8_t encoding, QByteArrayView bytes);

struct Id3EncodedText {
    uint8_t encoding = Id3Encoding::latin1;
    QByteArray bytes;
};

/// Encodes a text with its terminator: Latin-1 and one zero byte where that loses nothing, else UTF-16 in
/// this machine's byte order after a byte-order mark, and two zero bytes.
Id3EncodedText encodeId3Text(const QString& text);

/// An address has no other letters than those of Latin-1. One that has would come out with a question mark in
/// their place, and lead nowhere; so its letters are written as any browser would ask for them
/// (https://www.rfc-editor.org/rfc/rfc3986#section-2.5).
QByteArray encodeId3Address(const QString& text);

struct Id3DescribedData {
    QString description;
    QByteArrayView content;
};

/// Splits bytes at the terminator of the description that they begin with; nothing if it has none.
std::optional<Id3DescribedData> splitId3Description(uint8_t encoding, QByteArrayView bytes);

/// A comment or lyrics frame's payload: encoding, language, description, text.
struct Id3Comment {
    /// By ISO 639-2; some programs leave zeros or blanks here.
    QString language;
    QString description;
    QString text;
    /// One letter in one byte, without a terminator, is what is left of an empty text: no comment.
    bool isTooShort = false;

    /// True for what a player keeps for itself ("iTunNORM" and its like).
    bool isPrivate() const { return description.startsWith(u"iTun"); }
};
/// Nothing when the payload is damaged.
std::optional<Id3Comment> decodeId3Comment(QByteArrayView payload);

} // namespace velloria
