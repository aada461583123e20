#pragma once

#include "platform/codec/FFmpegLibraries.h"

#include <cstdint>
#include <span>

namespace velloria
{

/// Frames in one packet beyond which a stream is taken for damaged; the largest of a sane file is some 65536
/// (Apple Lossless and FLAC may choose).
constexpr int64_t kMaxFramesPerPacket = int64_t{1} << 17;
constexpr int kMaxChannels = 1024;
constexpr int kMaxSampleRate = 1536000;

/// Frames per packet that an Apple Lossless cookie announces; the decoder allocates that many at once. 0 for
/// any other encoding.
int64_t framesPerPacketOfAppleLossless(const AVCodecParameters& parameters);

/// Turns packets into floats. Nothing is skipped or trimmed here. The frames of a packet wait in the
/// decoder's own buffer until they are taken, so that each sample is copied once. One thread at a time.
class PacketDecoder
{
public:
    /// Null with `error` filled when there is no such decoder or it refuses the parameters.
    static std::unique_ptr<PacketDecoder> open(const AVCodecParameters& parameters, MaybeError* error);

    /// Hands over a packet, after all frames of the previous one were taken or skipped. False when the packet
    /// cannot be decoded; the next one may be.
    bool send(const AVPacket& packet);
    /// Frames that can be taken at once; 0 when the packet holds no more.
    int64_t numFramesAvailable();
    /// The next frames, at most numFramesAvailable(). Should a frame have other channels than asked for, mono
    /// goes to all of them and a missing one is silent.
    void take(int64_t numFrames, std::span<float* const> channels);
    void skip(int64_t numFrames) { mNumTaken += numFrames; }

    /// What the frame at hand is, for the one who opens a stream; needs numFramesAvailable() > 0.
    const AVFrame& frame() const { return *mFrame; }
    const AVCodecContext& codec() const { return *mCodec; }

private:
    PacketDecoder() = default;
    bool isSaneFrame() const;

    AvCodecContextPtr mCodec;
    AvFramePtr mFrame;
    int64_t mNumTaken = 0;
};

} // namespace velloria
