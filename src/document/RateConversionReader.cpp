#include "document/RateConversionReader.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t kFramesPerStep = 8192;

} // namespace

RateConversionReader::RateConversionReader(AudioTrackPtr track, double sourceRate, double targetRate)
    : mTrack(std::move(track))
    , mSourceRate(sourceRate)
    , mTargetRate(targetRate)
{
}

std::shared_ptr<RateConversionReader> RateConversionReader::create(AudioTrackPtr track, double sourceRate,
                                                                   double targetRate, MaybeError* error)
{
    std::shared_ptr<RateConversionReader> reader(
        new RateConversionReader(std::move(track), sourceRate, targetRate));
    return reader->begin(error) ? reader : nullptr;
}

bool RateConversionReader::begin(MaybeError* error)
{
    mWaiting.clear();
    mPosition = 0;
    mConverter = TrackRateConverter::create(*mTrack, mSourceRate, mTargetRate, error);
    return mConverter != nullptr;
}

void RateConversionReader::read(int64_t offset, std::span<float> out)
{
    std::unique_lock lock(mMutex);
    size_t done = 0;
    while (true) {
        const int64_t next = offset + static_cast<int64_t>(done);
        done += takeWaiting(next, out.subspan(done));
        if (done == out.size())
            return;
        if (mIsConverting) {
            mConverted.wait(lock);
            continue;
        }
        if (offset + static_cast<int64_t>(done) < mPosition) {
            begin(nullptr);
            done = 0;
        } else if (!convertSome(lock))
            break;
    }
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(done), out.end(), 0.0F);
}

/// False at the end. Others take what waits meanwhile, or go on with another track.
bool RateConversionReader::convertSome(std::unique_lock<std::mutex>& lock)
{
    mIsConverting = true;
    lock.unlock();
    FloatBuffer frames;
    mConverter->convert(kFramesPerStep, frames);
    lock.lock();
    mIsConverting = false;
    const int64_t position = mPosition;
    const int64_t count = std::ssize(frames);
    mPosition += count;
    if (count > 0)
        mWaiting.emplace(position, std::move(frames));
    mConverted.notify_all();
    return count > 0;
}

size_t RateConversionReader::takeWaiting(int64_t offset, std::span<float> out)
{
    size_t done = 0;
    while (done < out.size()) {
        const int64_t position = offset + static_cast<int64_t>(done);
        auto piece = mWaiting.upper_bound(position);
        if (piece == mWaiting.begin())
            break;
        --piece;
        const auto skipped = position - piece->first;
        FloatBuffer& frames = piece->second;
        if (skipped >= std::ssize(frames))
            break;
        const auto count = std::min(out.size() - done, frames.size() - static_cast<size_t>(skipped));
        const auto first = frames.begin() + skipped;
        const auto last = first + static_cast<std::ptrdiff_t>(count);
        std::copy(first, last, out.begin() + static_cast<std::ptrdiff_t>(done));
        done += count;
        if (last != frames.end())
            mWaiting.emplace(position + static_cast<int64_t>(count), FloatBuffer(last, frames.end()));
        frames.resize(static_cast<size_t>(skipped));
        if (frames.empty())
            mWaiting.erase(piece);
    }
    return done;
}

} // namespace velloria
