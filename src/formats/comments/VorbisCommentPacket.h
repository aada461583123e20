#pragma once

#include "formats/tags/MetadataDictionary.h"

#include <QByteArray>
#include <QList>
#include <optional>
#include <span>

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

    const QByteArray& vendor() const { return mVendor; }
    void setVendor(const QByteArray& vendor);
    const QList<QByteArray>& entries() const { return mEntries; }
    /// Nothing happens where they are the same.
    void setEntries(const QList<QByteArray>& entries);

    /// Says the tags of a model, edited as VorbisCommentEdit has it, and names the program that encoded the
    /// sound where an entry does so already.
    void setTags(const MetadataDictionary& tags);
    void setEncoder(const QByteArray& name);

    /// As they stand in a file: the bytes that were read, with whatever stands behind the entries, as long as
    /// nothing was changed.
    QByteArray bytes() const;
    bool isAsRead() const { return !mBytes.isEmpty(); }
    /// The entries, one behind the other.
    QByteArray text() const { return mEntries.join('\n'); }

    /// The pictures among the entries that can be read, as blocks of FLAC.
    QList<QByteArray> pictureBlocks() const;
    /// Changes these as PictureBlock::changes() tells of all of them, and more that are added.
    void changePictures(std::span<const std::optional<QByteArray>> changes);

private:
    QByteArray mVendor;
    QList<QByteArray> mEntries;
    /// As they were read; empty when something was changed.
    QByteArray mBytes;
};

} // namespace velloria
