#pragma once

#include "formats/tags/Id3Text.h"

namespace velloria
{

/// How a frame stores its texts.
struct Id3TextForm {
    uint8_t encoding = Id3Encoding::latin1;
    /// Of UTF-16 behind a byte-order mark.
    bool isBigEndian = false;
    bool isTerminated = false;

    /// Of a text behind its encoding byte, which must be one that exists.
    static Id3TextForm ofText(uint8_t encoding, QByteArrayView text);

    /// This form where it can hold a text without loss, else the Unicode one of a version of ID3v2.
    Id3TextForm holding(const QString& text, int version) const;

    /// The bytes of a text, without the encoding byte.
    QByteArray encoded(const QString& text) const;
    /// The same with its terminator, whatever this form has.
    QByteArray terminated(const QString& text) const;
};

/// The payload of a text frame in place of another one's, in its encoding where that can hold the text; the
/// other one may be empty. Several values, which the model has as "A; B", stay several.
QByteArray id3TextPayload(const QString& text, QByteArrayView before, const Id3TextForm& otherwise,
                          int version);

/// The payload of a comment or lyrics frame in place of another one's, whose language and description stay.
QByteArray id3CommentPayload(const QString& text, QByteArrayView before, const Id3TextForm& otherwise,
                             int version);

} // namespace velloria
