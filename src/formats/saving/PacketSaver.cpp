#include "formats/saving/PacketSaver.h"

#include <algorithm>

namespace velloria
{

namespace
{

/// True where the last packet holds just the frames that are left, or packets hold any number.
bool hasShortLastPacket(const AVCodecContext& codec)
{
    return codec.codec_id == AV_CODEC_ID_ALAC || codec.frame_size <= 0;
}

} // namespace

PacketSaver::PacketSaver(const FrameSource& document, const SaveRange& range, const Options& options)
    : mRange(range)
    , mOptions(options)
    , mFeed(document, range)
{
}

MaybeError PacketSaver::run(PacketSink& container, Progress& progress)
{
    MaybeError error;
    mEncoder = PacketEncoder::create(mOptions.format, mOptions.bitRate, &error);
    if (!mEncoder)
        return error;
    const PacketEncoder::Sink sink = [this, &container](AVPacket& packet) {
        ++mNumPackets;
        return container.writePacket(packet);
    };
    if ((error = container.begin(*mEncoder)))
        return error;
    if ((error = encodeSilenceBefore(sink)))
        return error;
    error = mFeed.run(
        [this, &sink](std::span<const float> interleaved) { return mEncoder->encode(interleaved, sink); },
        progress);
    if (!error)
        error = mEncoder->finish(sink);
    return error ? error : container.finish(packetTable());
}

MaybeError PacketSaver::encodeSilenceBefore(const PacketEncoder::Sink& sink)
{
    mNumSilentFrames = std::max<int64_t>(0, mOptions.assumedPrimingFrames - mEncoder->primingFrames());
    const std::vector<float> silence(static_cast<size_t>(mNumSilentFrames * mRange.numTracks), 0.0F);
    return mEncoder->encode(silence, sink);
}

PacketTable PacketSaver::packetTable() const
{
    PacketTable table;
    table.primingFrames = mEncoder->primingFrames() + mNumSilentFrames;
    table.numberOfValidFrames = mEncoder->numFramesEncoded() - mNumSilentFrames;
    const int64_t numDecoded = hasShortLastPacket(mEncoder->codec())
                                   ? mEncoder->numFramesEncoded()
                                   : mNumPackets * mEncoder->framesPerPacket();
    table.remainderFrames =
        std::max<int64_t>(0, numDecoded - table.primingFrames - table.numberOfValidFrames);
    return table;
}

} // namespace velloria
