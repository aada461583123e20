#pragma once

#include "platform/DispatchQueue.h"
#include "platform/codec/StreamDecoder.h"

#include <deque>
#include <vector>

namespace velloria
{

/// Decodes runs of packets on several cores at once, for encodings whose packets depend on few others. Each
/// run has a decoder of its own that begins some packets early and drops what these give, so the frames are
/// those of decoding from the start (the noise that AAC invents where its encoder left some out is another
/// one). How the runs are cut does not depend on the machine.
class ConcurrentStreamDecoder : public StreamDecoder
{
public:
    /// Null for an encoding that cannot be cut, a short file, or a single core.
    static std::unique_ptr<StreamDecoder> openIfWorthwhile(PacketReader& reader);
    ~ConcurrentStreamDecoder() override;

    int64_t skip(int64_t numFrames) override;

protected:
    int64_t decodeSome(int64_t numFrames, std::span<float* const> channels) override;

private:
    struct Run;

    ConcurrentStreamDecoder(PacketReader& reader, size_t numLanes);
    void startRuns();
    std::shared_ptr<Run> readRun();
    void rememberForPreroll(const AVPacket& packet);
    int64_t numFramesAtHand();

    PacketReader& mReader;
    size_t mNumChannels;
    int64_t mPacketsPerRun;
    AvPacketPtr mPacket;
    /// The packets before the next run, the oldest first.
    std::deque<std::shared_ptr<AVPacket>> mRecent;
    /// Runs that were started, in order; the first is the one being taken.
    std::deque<std::shared_ptr<Run>> mRuns;
    int64_t mNumTakenOfFirst = 0;
    /// The one taken last, whose memory serves the next one.
    std::shared_ptr<Run> mIdleRun;
    size_t mNumRunsStarted = 0;
    /// Last, so that they wait for their jobs before anything else goes.
    std::vector<std::unique_ptr<DispatchQueue>> mLanes;
};

} // namespace velloria
