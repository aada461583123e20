#pragma once

#include "formats/flac/FlacDescription.h"
#include "formats/saving/SaveLoop.h"

#include <FLAC/stream_encoder.h>
#include <functional>

namespace velloria
{

/// Encodes runs of a document's sound that stand between packets of another file. Each run is a stream of its
/// own to the library, of which only the packets are taken. One thread at a time.
class FlacGapEncoder
{
public:
    /// Takes a packet, numbered from the start of its run.
    using PacketTaker = std::function<MaybeError(std::span<const std::byte> packet)>;

    FlacGapEncoder(const FlacFormat& format, PacketTaker take);

    /// `packetFrames` is the length of all packets but the last one, which takes what is left. Ends with the
    /// first error of the taker.
    MaybeError encode(const TrackList& tracks, const SaveRange& range, int64_t packetFrames);

private:
    struct Deleter {
        void operator()(FLAC__StreamEncoder* encoder) const { FLAC__stream_encoder_delete(encoder); }
    };
    static FLAC__StreamEncoderWriteStatus write(const FLAC__StreamEncoder*, const FLAC__byte buffer[],
                                                size_t numBytes, uint32_t numFrames, uint32_t, void* client);
    MaybeError takeError();

    const FlacFormat mFormat;
    const PacketTaker mTake;
    MaybeError mError;
    std::unique_ptr<FLAC__StreamEncoder, Deleter> mEncoder;
};

} // namespace velloria
