#include "platform/codec/ConcurrentStreamDecoder.h"

#include "platform/codec/PacketDecoder.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace velloria
{

namespace
{

// Long enough that the packets decoded twice do not matter, short enough that all runs at work stay small.
constexpr int64_t kFramesPerRun = 1 << 17;
constexpr unsigned kMaxLanes = 4;
constexpr size_t kRunsPerLane = 2;
// Only packets without sound are so small that more would be needed.
constexpr size_t kMaxPrerollPackets = 256;

using SharedPacket = std::shared_ptr<AVPacket>;

/// Bytes of an MPEG Layer III packet behind its head and side information (ISO 11172-3 and 13818-3, 2.4.1).
int64_t numSoundBytes(const AVPacket& packet)
{
    if (packet.size < 4)
        return 0;
    const bool isMpeg1 = (packet.data[1] & 0x08) != 0;
    const bool isMono = (packet.data[3] & 0xC0) == 0xC0;
    const bool hasChecksum = (packet.data[1] & 0x01) == 0;
    const int sideBytes = isMpeg1 ? (isMono ? 17 : 32) : (isMono ? 9 : 17);
    return std::max(0, packet.size - 4 - (hasChecksum ? 2 : 0) - sideBytes);
}

SharedPacket sharedCopy(const AVPacket& packet)
{
    return {FFmpegLibraries::loaded().av_packet_clone(&packet), FFmpegDeleter()};
}

} // namespace

/// Some packets and, once its group is idle, their frames.
struct ConcurrentStreamDecoder::Run {
    std::vector<SharedPacket> preroll;
    std::vector<SharedPacket> packets;
    /// What stands for each of the packets where it cannot be decoded.
    std::vector<int64_t> framesWhenSilent;
    int64_t numDamagedPackets = 0;
    std::vector<std::vector<float>> planar;
    std::shared_ptr<DispatchGroup> group = std::make_shared<DispatchGroup>();

    int64_t numFrames() const { return static_cast<int64_t>(planar.front().size()); }

    void decode(const AVCodecParameters& parameters)
    {
        const auto decoder = PacketDecoder::open(parameters, nullptr);
        if (!decoder)
            return;
        for (const SharedPacket& packet : preroll) {
            decoder->send(*packet);
            while (const int64_t count = decoder->numFramesAvailable())
                decoder->skip(count);
        }
        for (size_t i = 0; i < packets.size(); ++i)
            decodePacket(*decoder, *packets[i], framesWhenSilent[i]);
        preroll.clear();
        packets.clear();
    }

private:
    void decodePacket(PacketDecoder& decoder, const AVPacket& packet, int64_t framesIfSilent)
    {
        bool isSilent = true;
        numDamagedPackets += decoder.send(packet) ? 0 : 1;
        while (const int64_t count = decoder.numFramesAvailable()) {
            isSilent = false;
            decoder.take(count, grow(count));
        }
        if (isSilent)
            grow(framesIfSilent);
    }

    /// Room for more frames in each channel, zero at first.
    std::span<float* const> grow(int64_t count)
    {
        mEnds.clear();
        for (std::vector<float>& channel : planar) {
            const size_t length = channel.size();
            channel.resize(length + static_cast<size_t>(count));
            mEnds.push_back(channel.data() + length);
        }
        return mEnds;
    }

    std::vector<float*> mEnds;
};

std::unique_ptr<StreamDecoder> ConcurrentStreamDecoder::openIfWorthwhile(PacketReader& reader)
{
    const unsigned numLanes = std::min(std::thread::hardware_concurrency(), kMaxLanes);
    const bool isLong = reader.numFramesInPackets() >= 3 * kFramesPerRun;
    if (!reader.preroll() || !isLong || numLanes < 2)
        return nullptr;
    return std::unique_ptr<StreamDecoder>(new ConcurrentStreamDecoder(reader, numLanes));
}

ConcurrentStreamDecoder::ConcurrentStreamDecoder(PacketReader& reader, size_t numLanes)
    : mReader(reader)
    , mNumChannels(reader.streamDescription().channelsPerFrame())
    , mPacketsPerRun(std::max<int64_t>(1, kFramesPerRun / reader.streamDescription().framesPerPacket()))
    , mPacket(FFmpegLibraries::loaded().av_packet_alloc())
{
    for (size_t i = 0; i < numLanes; ++i)
        mLanes.push_back(std::make_unique<DispatchQueue>(QStringLiteral("codec.decode")));
}

ConcurrentStreamDecoder::~ConcurrentStreamDecoder() = default;

void ConcurrentStreamDecoder::rememberForPreroll(const AVPacket& packet)
{
    const PacketPreroll& preroll = *mReader.preroll();
    mRecent.push_back(sharedCopy(packet));
    // The oldest goes while the others still are enough.
    int64_t numPackets = 0;
    int64_t numBytes = 0;
    for (auto each = mRecent.rbegin(); each != mRecent.rend(); ++each) {
        if (numPackets >= preroll.numPackets && numBytes >= preroll.numBytes) {
            mRecent.erase(mRecent.begin(), each.base());
            return;
        }
        ++numPackets;
        // The latest packets only settle what overlaps; those before them fill the reservoir.
        numBytes += numPackets > preroll.numPackets ? numSoundBytes(**each) : 0;
    }
    if (mRecent.size() > kMaxPrerollPackets)
        mRecent.pop_front();
}

std::shared_ptr<ConcurrentStreamDecoder::Run> ConcurrentStreamDecoder::readRun()
{
    std::shared_ptr<Run> run = std::move(mIdleRun);
    mIdleRun.reset();
    if (!run)
        run = std::make_shared<Run>();
    run->preroll.assign(mRecent.begin(), mRecent.end());
    run->framesWhenSilent.clear();
    run->planar.resize(mNumChannels);
    for (std::vector<float>& channel : run->planar) {
        channel.clear();
        channel.reserve(static_cast<size_t>(kFramesPerRun));
    }
    while (static_cast<int64_t>(run->packets.size()) < mPacketsPerRun && mReader.readPacket(*mPacket)) {
        run->packets.push_back(sharedCopy(*mPacket));
        run->framesWhenSilent.push_back(mReader.nominalFrames(*mPacket));
        rememberForPreroll(*mPacket);
    }
    return run->packets.empty() ? nullptr : run;
}

void ConcurrentStreamDecoder::startRuns()
{
    while (mRuns.size() < kRunsPerLane * mLanes.size()) {
        std::shared_ptr<Run> run = readRun();
        if (!run)
            return;
        const AVCodecParameters& parameters = mReader.codecParameters();
        mLanes[mNumRunsStarted++ % mLanes.size()]->async(run->group,
                                                         [run, &parameters] { run->decode(parameters); });
        mRuns.push_back(std::move(run));
    }
}

int64_t ConcurrentStreamDecoder::numFramesAtHand()
{
    while (true) {
        if (mRuns.empty())
            startRuns();
        if (mRuns.empty())
            return 0;
        mRuns.front()->group->wait();
        addDamagedPackets(std::exchange(mRuns.front()->numDamagedPackets, 0));
        const int64_t count = mRuns.front()->numFrames() - mNumTakenOfFirst;
        if (count > 0)
            return count;
        mIdleRun = std::move(mRuns.front());
        mRuns.pop_front();
        mNumTakenOfFirst = 0;
        startRuns();
    }
}

int64_t ConcurrentStreamDecoder::skip(int64_t numFrames)
{
    int64_t numSkipped = 0;
    while (numSkipped < numFrames) {
        const int64_t count = std::min(numFrames - numSkipped, numFramesAtHand());
        if (count == 0)
            break;
        mNumTakenOfFirst += count;
        numSkipped += count;
    }
    return numSkipped;
}

int64_t ConcurrentStreamDecoder::decodeSome(int64_t numFrames, std::span<float* const> channels)
{
    const int64_t count = std::min(numFrames, numFramesAtHand());
    for (size_t c = 0; c < channels.size() && count > 0; ++c) {
        const auto* const from = mRuns.front()->planar[c].data() + mNumTakenOfFirst;
        std::copy_n(from, count, channels[c]);
    }
    mNumTakenOfFirst += count;
    return count;
}

} // namespace velloria
