#include "platform/codec/StreamDecoder.h"

#include "platform/codec/ConcurrentStreamDecoder.h"
#include "platform/codec/PacketDecoder.h"

#include <algorithm>
#include <vector>

namespace velloria
{

namespace
{

/// Reads a run of linear PCM by pieces that stay in the second-level cache.
class LinearPcmDecoder : public StreamDecoder
{
public:
    explicit LinearPcmDecoder(const PacketReader& reader)
        : mHandle(reader.fileHandle())
        , mRun(*reader.linearPcmRun())
        , mBytesPerFrame(reader.streamDescription().bytesPerFrame())
        , mNumFramesLeft(mRun.numBytes / mBytesPerFrame)
    {
        constexpr int64_t pieceBytes = 65536;
        mFramesPerPiece = std::max<int64_t>(1, pieceBytes / mBytesPerFrame);
        mPiece.resize(static_cast<size_t>(mFramesPerPiece * mBytesPerFrame));
    }

    int64_t skip(int64_t numFrames) override
    {
        const int64_t count = std::min(numFrames, mNumFramesLeft);
        mNumFramesLeft -= count;
        return count;
    }

protected:
    int64_t decodeSome(int64_t numFrames, std::span<float* const> channels) override
    {
        const int64_t wanted = std::min({numFrames, mNumFramesLeft, mFramesPerPiece});
        const std::span piece(mPiece.data(), static_cast<size_t>(wanted * mBytesPerFrame));
        const int64_t end = mRun.offset + mRun.numBytes;
        const int64_t count = mHandle->readAt(end - mNumFramesLeft * mBytesPerFrame, piece) / mBytesPerFrame;
        linearPcmToFloats(piece, mRun.layout, count, channels);
        mNumFramesLeft = count < wanted ? 0 : mNumFramesLeft - count;
        return count;
    }

private:
    std::shared_ptr<FileHandle> mHandle;
    LinearPcmRun mRun;
    int64_t mBytesPerFrame;
    int64_t mNumFramesLeft;
    int64_t mFramesPerPiece;
    std::vector<std::byte> mPiece;
};

class PacketStreamDecoder : public StreamDecoder
{
public:
    PacketStreamDecoder(PacketReader& reader, std::unique_ptr<PacketDecoder> decoder)
        : mReader(reader)
        , mDecoder(std::move(decoder))
        , mPacket(FFmpegLibraries::loaded().av_packet_alloc())
    {
    }

    int64_t skip(int64_t numFrames) override
    {
        int64_t numSkipped = 0;
        while (numSkipped < numFrames) {
            const int64_t count = std::min(numFrames - numSkipped, numFramesAtHand());
            if (count == 0)
                break;
            advance(count);
            numSkipped += count;
        }
        return numSkipped;
    }

protected:
    int64_t decodeSome(int64_t numFrames, std::span<float* const> channels) override
    {
        const int64_t count = std::min(numFrames, numFramesAtHand());
        if (mNumSilentFrames == 0 && count > 0) {
            mDecoder->take(count, channels);
            return count;
        }
        for (float* const channel : channels)
            std::fill_n(channel, count, 0.0F);
        mNumSilentFrames -= count;
        return count;
    }

private:
    void advance(int64_t count)
    {
        if (mNumSilentFrames > 0)
            mNumSilentFrames -= count;
        else
            mDecoder->skip(count);
    }

    /// Frames that can be had without another packet, after reading packets until there are some; 0 at the
    /// end.
    int64_t numFramesAtHand()
    {
        while (mNumSilentFrames == 0) {
            const int64_t count = mDecoder->numFramesAvailable();
            if (count > 0) {
                mIsPacketSilent = false;
                return count;
            }
            if (mIsPacketSilent) {
                mIsPacketSilent = false;
                mNumSilentFrames = mReader.nominalFrames(*mPacket);
                continue;
            }
            if (!mReader.readPacket(*mPacket))
                return 0;
            if (!mDecoder->send(*mPacket))
                addDamagedPackets(1);
            mIsPacketSilent = true;
        }
        return mNumSilentFrames;
    }

    PacketReader& mReader;
    std::unique_ptr<PacketDecoder> mDecoder;
    AvPacketPtr mPacket;
    /// True while the packet read last has given no frame.
    bool mIsPacketSilent = false;
    int64_t mNumSilentFrames = 0;
};

} // namespace

std::unique_ptr<StreamDecoder> StreamDecoder::open(PacketReader& reader, MaybeError* error)
{
    if (reader.linearPcmRun())
        return std::make_unique<LinearPcmDecoder>(reader);
    auto concurrent = ConcurrentStreamDecoder::openIfWorthwhile(reader);
    if (concurrent)
        return concurrent;
    auto decoder = PacketDecoder::open(reader.codecParameters(), error);
    return decoder ? std::make_unique<PacketStreamDecoder>(reader, std::move(decoder)) : nullptr;
}

int64_t StreamDecoder::decode(int64_t numFrames, std::span<float* const> channels)
{
    mRest.assign(channels.begin(), channels.end());
    int64_t numDecoded = 0;
    while (numDecoded < numFrames) {
        const int64_t count = decodeSome(numFrames - numDecoded, mRest);
        if (count == 0)
            break;
        numDecoded += count;
        for (float*& channel : mRest)
            channel += count;
    }
    return numDecoded;
}

} // namespace velloria
