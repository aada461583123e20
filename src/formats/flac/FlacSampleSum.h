#pragma once

#include "formats/saving/SaveLoop.h"

#include <QByteArray>
#include <atomic>
#include <chrono>
#include <future>

namespace velloria
{

/// The checksum of the samples of a range of a document, as it stands in a FLAC file, computed on a thread of
/// its own.
class FlacSampleSum
{
public:
    FlacSampleSum(TrackList tracks, const SaveRange& range, uint32_t bits);
    /// Gives it up where it is not complete.
    ~FlacSampleSum();
    FlacSampleSum(const FlacSampleSum&) = delete;
    FlacSampleSum& operator=(const FlacSampleSum&) = delete;

    int64_t numFramesSoFar() const { return mNumFrames.load(std::memory_order_relaxed); }
    /// True when it is complete, after that time at the latest.
    bool wait(std::chrono::milliseconds time) const;
    /// Once, when it is complete.
    QByteArray result() { return mResult.get(); }

private:
    QByteArray compute(const TrackList& tracks, const SaveRange& range, uint32_t bits);

    std::atomic<int64_t> mNumFrames{0};
    std::atomic<bool> mIsCancelled{false};
    std::future<QByteArray> mResult;
};

} // namespace velloria
