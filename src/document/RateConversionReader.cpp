#include "document/RateConversionReader.h"

#include <algorithm>

namespace velloria
{

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
    const std::lock_guard lock(mMutex);
    size_t done = takeWaiting(offset, out);
    const int64_t next = offset + static_cast<int64_t>(done);
    if (done < out.size() && next < mPosition) {
        begin(nullptr);
        done = 0;
    }
    if (done < out.size()) {
        convertUpTo(offset + std::ssize(out));
        done += takeWaiting(offset + static_cast<int64_t>(done), out.subspan(done));
    }
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(done), out.end(), 0.0F);
}

void RateConversionReader::convertUpTo(int64_t end)
{
    FloatBuffer frames;
    mConverter->convert(end - mPosition, frames);
    const int64_t position = mPosition;
    mPosition += std::ssize(frames);
    if (!frames.empty())
        mWaiting.emplace(position, std::move(frames));
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
