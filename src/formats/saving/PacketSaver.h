#pragma once

#include "formats/saving/FrameFeed.h"
#include "platform/codec/PacketSink.h"

namespace velloria
{

/// Saves a range of a document in a compressed format: reads its frames as floats, encodes them, and lays the
/// packets out in a container. Reading and encoding overlap on two threads. Used once.
///
///     PacketSaver saver(document, range, {format, bitRate});
///     MaybeError error = saver.run(container, progress);
class PacketSaver
{
public:
    struct Options {
        /// What PacketEncoder can encode; rate and channels are those of the range.
        StreamDescription format;
        /// Bits per second of AAC; 0 leaves the choice to the encoder.
        int64_t bitRate = 0;
        /// Frames that readers drop from the start of every such file, whatever the encoder's delay is:
        /// silence goes before the sound to make it so many. 0 where the container tells its priming.
        int64_t assumedPrimingFrames = 0;
    };

    PacketSaver(const FrameSource& document, const SaveRange& range, const Options& options);

    /// Ends early with the first error (of the encoder or the container), or the user-cancelled one; the
    /// container is finished only when all went well. An empty range gives a container of no packets.
    MaybeError run(PacketSink& container, Progress& progress);

    /// Where the sound lies among the frames that decode from the packets; after run().
    PacketTable packetTable() const;
    int64_t numPackets() const { return mNumPackets; }

private:
    MaybeError encodeSilenceBefore(const PacketEncoder::Sink& sink);

    const SaveRange mRange;
    const Options mOptions;
    FrameFeed mFeed;
    std::unique_ptr<PacketEncoder> mEncoder;
    int64_t mNumPackets = 0;
    int64_t mNumSilentFrames = 0;
};

} // namespace velloria
