#pragma once

#include "platform/codec/FFmpegLibraries.h"
#include "platform/codec/StreamDescription.h"

#include <QByteArray>
#include <functional>
#include <span>
#include <vector>

namespace velloria
{

/// Encodes interleaved floats as AAC, Apple Lossless (16 or 24 bits by the format flags), IMA 4:1, A-law or
/// mu-law. Integer encodings take the nearest integer; samples beyond full scale are clipped there. One
/// thread at a time.
class PacketEncoder
{
public:
    /// Takes each packet as it gets ready; it is valid during the call. Gives an error to stop.
    using Sink = std::function<MaybeError(AVPacket&)>;

    /// `bitRate` in bits per second is for AAC; 0 leaves the choice to the encoder. Null with `error` filled
    /// for a format, rate or channel count that there is no encoder for.
    static std::unique_ptr<PacketEncoder> create(const StreamDescription& format, int64_t bitRate,
                                                 MaybeError* error);

    /// Any number of whole frames.
    MaybeError encode(std::span<const float> interleaved, const Sink& sink);
    /// What is left, filled up with silence to a whole packet where the encoding needs that.
    MaybeError finish(const Sink& sink);

    /// Frames that decoding gives before the first one encoded.
    int64_t primingFrames() const { return mCodec->initial_padding; }
    /// Of a full packet; 1 for A-law and mu-law.
    int64_t framesPerPacket() const { return mCodec->frame_size > 0 ? mCodec->frame_size : 1; }
    /// Frames handed over so far.
    int64_t numFramesEncoded() const { return mNumFramesSent + numFramesPending(); }
    QByteArray magicCookie() const;
    const AVCodecContext& codec() const { return *mCodec; }

private:
    PacketEncoder() = default;
    MaybeError openCodec(const StreamDescription& format, int64_t bitRate);
    int64_t numFramesPending() const;
    MaybeError sendFrame(std::span<const float> interleaved, const Sink& sink);
    MaybeError receivePackets(const Sink& sink);
    void fillFrame(std::span<const float> interleaved);

    AvCodecContextPtr mCodec;
    AvFramePtr mFrame;
    AvPacketPtr mPacket;
    size_t mNumChannels = 0;
    size_t mFramesPerSend = 0;
    std::vector<float> mPending;
    int64_t mNumFramesSent = 0;
};

} // namespace velloria
