#pragma once

#include "platform/codec/PacketReader.h"

#include <cstdint>
#include <memory>
#include <span>

namespace velloria
{

/// The sound of a PacketReader as floats, from the start to the end, whatever the encoding. Linear PCM is
/// read straight from the file. A packet that cannot be decoded gives silence of its length, so that what
/// follows keeps its place. Works on the caller's thread; buffers are reused.
class StreamDecoder
{
public:
    virtual ~StreamDecoder() = default;
    StreamDecoder(const StreamDecoder&) = delete;
    StreamDecoder& operator=(const StreamDecoder&) = delete;

    /// Null with `error` filled when the encoding's decoder cannot be set up. The reader must live longer.
    static std::unique_ptr<StreamDecoder> open(PacketReader& reader, MaybeError* error);

    /// Up to numFrames frames into one buffer a channel, as many channels as the stream has. Gives the number
    /// of frames, fewer only at the end.
    int64_t decode(int64_t numFrames, std::span<float* const> channels);
    /// Drops frames. Gives how many there were, fewer than asked only at the end.
    virtual int64_t skip(int64_t numFrames) = 0;
    /// Packets so far that could not be decoded.
    int64_t numDamagedPackets() const { return mNumDamagedPackets; }

protected:
    StreamDecoder() = default;
    /// At least one frame, unless the end is reached.
    virtual int64_t decodeSome(int64_t numFrames, std::span<float* const> channels) = 0;

    void addDamagedPackets(int64_t count) { mNumDamagedPackets += count; }

private:
    std::vector<float*> mRest;
    int64_t mNumDamagedPackets = 0;
};

} // namespace velloria
