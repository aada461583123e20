#pragma once

#include "formats/tags/AttachedPicture.h"
#include "formats/tags/Id3Frames.h"
#include "formats/tags/Id3Layout.h"
#include "formats/tags/Id3TextForm.h"

namespace velloria
{

/// Makes frames for a tag that exists: of its version, in the encoding that its texts have, as its bytes are
/// stored. A frame may stand in for an older one, whose ID, flags, group, language and description it takes
/// over. One that is too large for the version is empty, and the log says so.
class Id3FrameMaker
{
public:
    /// The layout must outlive this object.
    explicit Id3FrameMaker(const Id3Layout& layout);

    /// `before` may be null. A frame that the version does not have is empty.
    QByteArray frame(const Id3Frame& kind, const QString& text, const Id3StoredFrame* before) const;
    /// A text of a frame that the metadata does not know.
    QByteArray textInPlaceOf(const Id3StoredFrame& before, const QString& text) const;
    QByteArray picture(const AttachedPicture& picture, const Id3StoredFrame* before) const;
    /// A frame of any payload.
    QByteArray data(QByteArrayView id, const QByteArray& payload, const Id3StoredFrame* before) const;
    /// A text that is part of another frame, in place of one with the payload `before`, which may be empty.
    QByteArray partText(QByteArrayView id, const QString& text, QByteArrayView before) const;

    static bool canHold(const AttachedPicture& picture, int version);

private:
    QByteArray header(QByteArrayView id, qsizetype size, uint8_t statusFlags, uint8_t formatFlags) const;

    const Id3Layout& mLayout;
    /// Of the tag's first text.
    Id3TextForm mForm;
};

/// Puts a zero byte behind every 0xFF that would look like the start of an MPEG frame with what follows it.
QByteArray withId3Unsynchronisation(QByteArrayView bytes);
/// Whether two bytes must not stand side by side in an unsynchronised tag.
bool needsId3Unsynchronisation(char first, char second);

} // namespace velloria
