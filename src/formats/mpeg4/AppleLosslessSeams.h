#pragma once

#include "formats/mpeg4/Mpeg4Seams.h"
#include "formats/seams/PacketPlan.h"
#include "platform/codec/StreamDescription.h"

namespace velloria
{

/// Seams of Apple Lossless: each packet can be decoded by itself and may tell how many frames it holds, so a
/// packet can stand anywhere, and one of any length before and behind it.
class AppleLosslessSeams : public Mpeg4Seams
{
public:
    /// `pieces` of a sound of numFrames frames are in the file, counted from behind its primingFrames; the
    /// new packets are encoded as `format`. Null where packets of the file would mean something else beside
    /// those, do not add up to its length, or none lies whole in a piece.
    static std::unique_ptr<AppleLosslessSeams> plan(const std::shared_ptr<FileHandle>& file,
                                                    int64_t primingFrames, SoundPieces pieces,
                                                    int64_t numFrames, const StreamDescription& format);

    int64_t numTableBytes() const override;
    MaybeError write(const FrameSource& document, const SaveRange& range, PacketSink& container,
                     Progress& progress) override;
    PacketTable packetTable() const override;

private:
    AppleLosslessSeams(std::shared_ptr<FileHandle> file, PacketPlan plan, const StreamDescription& format,
                       std::unique_ptr<PacketEncoder> encoder);
    MaybeError copy(const PacketPlan::Step& step, PacketSink& container, Progress& progress) const;
    MaybeError encode(const PacketPlan::Step& step, const FrameSource& document, const SaveRange& range,
                      PacketSink& container, Progress& progress) const;

    std::shared_ptr<FileHandle> mFile;
    PacketPlan mPlan;
    StreamDescription mFormat;
    /// Describes the packets to the container.
    std::unique_ptr<PacketEncoder> mEncoder;
};

} // namespace velloria
