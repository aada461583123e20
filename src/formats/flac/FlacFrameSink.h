#pragma once

#include "formats/flac/FlacMetadataEdit.h"

#include <optional>
#include <span>

namespace velloria
{

/// Where the parts of a FLAC stream are written: a file of its own, or pages of Ogg.
class FlacFrameSink
{
public:
    virtual ~FlacFrameSink() = default;

    static std::unique_ptr<FlacFrameSink> create(std::shared_ptr<FileHandle> handle,
                                                 std::optional<int> oggSerialNumber);

    /// Before the first frame; `streamInfo` is the description of the sound.
    virtual void start(const QByteArray& streamInfo, const FlacMetadataEdit::Blocks& blocks) = 0;
    /// One frame, which ends at a sample of the sound.
    virtual void addFrame(std::span<const std::byte> bytes, int64_t endPosition) = 0;
    /// With the final numbers; blocks have the sizes that they had.
    virtual MaybeError finish(const QByteArray& streamInfo, const FlacMetadataEdit::Blocks& blocks) = 0;
    virtual MaybeError error() const = 0;
};

} // namespace velloria
