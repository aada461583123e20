#pragma once

#include "formats/tags/AttachedPicture.h"

#include <optional>
#include <vector>

namespace velloria
{

/// Pictures as a metadata block of FLAC, which Vorbis comments hold in base64, too:
/// https://www.rfc-editor.org/rfc/rfc9639#section-8.8
namespace PictureBlock
{

/// Larger ones are not taken in.
constexpr qsizetype largestPicture = qsizetype{16} << 20;

/// A picture by the fields of a block; nothing for one that is neither JPEG nor PNG, or too large.
std::optional<AttachedPicture> picture(uint32_t type, QByteArrayView mimeType, QByteArrayView description,
                                       const QByteArray& data);

/// The same from the payload of a block; nothing for a damaged one, either.
std::optional<AttachedPicture> pictureOf(const QByteArray& block);

/// The payload for a picture, with its size in pixels where that can be told.
QByteArray blockOf(const AttachedPicture& picture);

/// How places that hold the pictures `before`, as blocks, come to hold others: nothing for a place that stays
/// as it is, an empty block for one that goes, else the block that belongs there. Those beyond the last place
/// are to be added. The blocks of pictures that are there before and after stay what they are.
std::vector<std::optional<QByteArray>> changes(const QList<QByteArray>& before,
                                               const QList<AttachedPicture>& now);

} // namespace PictureBlock

} // namespace velloria
