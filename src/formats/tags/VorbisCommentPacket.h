#pragma once

#include "formats/tags/VorbisComments.h"

namespace velloria
{

/// Comments as they stand in a FLAC block or, behind the packet's name, in a Vorbis header: the program that
/// encoded the sound, then the entries, each behind its length.
class VorbisCommentPacket
{
public:
    /// No program and no entry.
    VorbisCommentPacket() = default;
    /// What stands at the start of these bytes, as far as it is whole.
    explicit VorbisCommentPacket(const QByteArray& bytes);

    /// Entries that hold a picture each.
    qsizetype numPictures() const;

    /// The same with other tags: program and entries that tell of the encoder stay, and pictures where they
    /// are wanted.
    QByteArray withTags(const QList<VorbisComments::Entry>& tags, bool keepsPictures) const;

private:
    QByteArray mVendor;
    QList<QByteArray> mEntries;
};

} // namespace velloria
