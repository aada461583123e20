#include "formats/mpegframes/Mp3SeamEncoder.h"

#include "formats/mpegframes/Mp3Packet.h"
#include "formats/saving/FrameFeed.h"

#include <algorithm>

namespace velloria
{

namespace
{

// Packets in front, for the transform's overlap and for LAME's model of hearing to settle.
constexpr int64_t numPacketsBefore = 4;
// LAME looks ahead that far.
constexpr int64_t numPacketsBehind = 3;
// LAME's delay: frames that its packets have before the first one that it was given, without the decoder's.
constexpr int64_t encoderDelay = 576;

Error encodingFailed()
{
    return {Error::Code::failed, QStringLiteral("The sound around a cut could not be encoded as MP3.")};
}

/// Finds the packets in the bytes that LAME gives, and what main data stands in front of each.
class PacketSplitter
{
public:
    PacketSplitter(const Mp3SeamEncoder::Packets& wanted, const Mp3SeamEncoder::Taker& take)
        : mWanted(wanted)
        , mTake(take)
    {
    }

    MaybeError add(std::span<const std::byte> bytes)
    {
        mBytes.append(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
        MaybeError error;
        while (!error && mBytes.size() >= MpegAudioHead::numBytes) {
            const auto head = MpegAudioHead::read(reinterpret_cast<const uint8_t*>(mBytes.constData()));
            if (!head)
                return encodingFailed();
            if (mBytes.size() < head->packetBytes)
                break;
            error = takePacket(*head, mBytes.first(head->packetBytes));
            mBytes.remove(0, head->packetBytes);
        }
        return error;
    }

    bool isComplete() const { return mNumPackets >= numPacketsBefore + mWanted.count; }

private:
    MaybeError takePacket(const MpegAudioHead& head, const QByteArray& packet)
    {
        const int64_t number = mNumPackets++ - numPacketsBefore;
        const int64_t needed =
            Mp3Packet::reservoirOf(head, reinterpret_cast<const uint8_t*>(packet.constData()));
        const QByteArray reservoir = mMainData.last(std::min<int64_t>(needed, mMainData.size()));
        mMainData += packet.sliced(head.bytesBeforeMainData());
        mMainData = mMainData.last(std::min<int64_t>(head.longestReservoir(), mMainData.size()));
        return number >= 0 && number < mWanted.count ? mTake(packet, reservoir) : std::nullopt;
    }

    const Mp3SeamEncoder::Packets& mWanted;
    const Mp3SeamEncoder::Taker& mTake;
    QByteArray mBytes;
    QByteArray mMainData;
    int64_t mNumPackets = 0;
};

} // namespace

MaybeError Mp3SeamEncoder::encode(const Packets& packets, const Taker& take, Progress& progress)
{
    const MpegAudioHead& head = mIndex.head();
    Mp3Encoder::Options options;
    options.sampleRate = head.sampleRate;
    options.bitRate = head.withBitRateIndex(packets.bitRateIndex).bitRate;
    options.isMono = head.isMono();
    options.insert = Mp3Encoder::Insert{head.mode() == 1, packets.hasReservoir,
                                        packets.hasReservoir && head.hasChecksum(), packets.hasShortWindows};
    MaybeError error;
    const auto encoder = Mp3Encoder::create(options, &error);
    if (!encoder)
        return error;
    PacketSplitter splitter(packets, take);
    const Mp3Encoder::Sink sink = [&splitter](std::span<const std::byte> bytes) {
        return splitter.add(bytes);
    };
    const int64_t firstFrame =
        (packets.first - numPacketsBefore) * mPlan.framesPerPacket + encoderDelay - mPlan.delay();
    const int64_t numFrames = (numPacketsBefore + packets.count + numPacketsBehind) * mPlan.framesPerPacket;
    error = feed(*encoder, sink, firstFrame, numFrames, progress);
    if (!error)
        error = encoder->finish(sink);
    return error || splitter.isComplete() ? error : encodingFailed();
}

/// Gives the encoder a run of what is saved, which is silence before its start and behind its end.
MaybeError Mp3SeamEncoder::feed(Mp3Encoder& encoder, const Mp3Encoder::Sink& sink, int64_t firstFrame,
                                int64_t numFrames, Progress& progress)
{
    StereoMix mix(mDocument, mRange);
    const int64_t start = std::clamp<int64_t>(firstFrame, 0, mRange.numFrames);
    const int64_t end = std::clamp<int64_t>(firstFrame + numFrames, 0, mRange.numFrames);
    const auto giveSilence = [&](int64_t count) {
        mix.setSilence(count);
        return encoder.encode(mix.left(), mix.right(), sink);
    };
    const int64_t numBefore = std::min(numFrames, start - firstFrame);
    MaybeError error = numBefore > 0 ? giveSilence(numBefore) : std::nullopt;
    if (error)
        return error;
    SaveRange part = mRange;
    part.startFrame += start;
    part.numFrames = end - start;
    FrameFeed frames(mDocument, part);
    error = frames.run(
        [&](std::span<const float> interleaved) {
            mix.mix(interleaved);
            return encoder.encode(mix.left(), mix.right(), sink);
        },
        progress);
    if (error)
        return error;
    const int64_t numBehind = numFrames - std::max<int64_t>(0, numBefore) - part.numFrames;
    return numBehind > 0 ? giveSilence(numBehind) : std::nullopt;
}

} // namespace velloria
