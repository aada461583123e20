#pragma once

#include "formats/mpeg4/Mpeg4Seams.h"
#include "formats/seams/SoundPieces.h"
#include "platform/codec/PacketReader.h"

namespace velloria
{

/// A single run of an AAC file's sound as packets of that file. The edit list leaves out what the first
/// packet decodes to in front of the sound, and the one before it, which the first one overlaps with; the
/// duration of the last packet ends the sound. So a crop is exact to the frame, and nothing is encoded.
/// (Noise that an encoder left to the decoder is another noise at another place; that is so wherever a player
/// begins.)
class AacCrop : public Mpeg4Seams
{
public:
    /// `piece` is counted from behind the file's primingFrames. Null where the packets would mean something
    /// else beside those that are encoded as `format`, or do not add up to framesInPackets.
    static std::unique_ptr<AacCrop> plan(const std::shared_ptr<FileHandle>& file, int64_t primingFrames,
                                         int64_t framesInPackets, const SoundPiece& piece,
                                         const StreamDescription& format);

    int64_t numTableBytes() const override { return 0; }
    MaybeError write(const FrameSource& document, const SaveRange& range, PacketSink& container,
                     Progress& progress) override;
    PacketTable packetTable() const override;

private:
    AacCrop(std::unique_ptr<PacketReader> reader, std::unique_ptr<PacketEncoder> encoder, int64_t start,
            int64_t numFrames);

    std::unique_ptr<PacketReader> mReader;
    /// Describes the packets to the container.
    std::unique_ptr<PacketEncoder> mEncoder;
    int64_t mFirstPacket = 0;
    int64_t mNumPackets = 0;
    int64_t mLeadFrames = 0;
    int64_t mNumFrames = 0;
};

} // namespace velloria
