#include "effects/filters/CascadeFilter.h"

#include "platform/DispatchQueue.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace velloria
{

namespace
{

/// Large enough that waking another core for half of the tracks costs nothing.
constexpr uint64_t kBlockNumFrames = 16384;
/// After so long nothing is left of how the filters began.
constexpr double kHistorySeconds = 0.25;
constexpr double kFadeSeconds = 0.02;

} // namespace

CascadeFilter::CascadeFilter(const QString& name, const std::vector<ParameterDescription>& parameters)
    : Filter(name, parameters)
{
    setMaxBufferNumFrames(kBlockNumFrames);
}

bool CascadeFilter::isWithinReach(double frequency) const
{
    return !mSource || frequency <= MatchedDesign::kHighest * sampleRate();
}

double CascadeFilter::highestFrequency() const
{
    return mSource ? sampleRate() / 2.0 : std::numeric_limits<double>::infinity();
}

std::vector<AnalogSection> CascadeFilter::sectionsWithinReach() const
{
    std::vector<AnalogSection> within = sections();
    const auto isBeyond = [this](const AnalogSection& section) { return !isWithinReach(section.frequency); };
    within.erase(std::remove_if(within.begin(), within.end(), isBeyond), within.end());
    return within;
}

std::optional<EffectRemark> CascadeFilter::remark() const
{
    const std::vector<AnalogSection> all = sections();
    const auto isBeyond = [this](const AnalogSection& section) { return !isWithinReach(section.frequency); };
    const auto beyond = std::find_if(all.begin(), all.end(), isBeyond);
    if (beyond == all.end())
        return std::nullopt;
    const bool isAll = std::all_of(beyond, all.end(), isBeyond) && beyond == all.begin();
    return EffectRemark{isAll ? EffectRemark::Kind::beyondRate : EffectRemark::Kind::bandsBeyondRate,
                        {beyond->frequency, sampleRate(), MatchedDesign::kHighest * sampleRate()}};
}

double CascadeFilter::responseAt(double frequency) const
{
    return AnalogFilters::decibels(sectionsWithinReach(), frequency);
}

BiquadFilter CascadeFilter::design() const
{
    return MatchedDesign::design(sectionsWithinReach(), sampleRate());
}

int64_t CascadeFilter::latencyNumFrames() const
{
    return std::min(static_cast<int64_t>(kHistorySeconds * sampleRate()),
                    std::max<int64_t>(0, mSource->loopStart()));
}

void CascadeFilter::processingWillBegin()
{
    const auto count = static_cast<size_t>(std::max(0, numTracks()));
    mCascade.emplace(design(), count);
    mNext.reset();
    mIsChanged = false;
    mHistory.assign(count, FloatBuffer());
    Filter::processingWillBegin();
}

void CascadeFilter::processingFinished()
{
    mCascade.reset();
    mNext.reset();
    mHistory.clear();
}

void CascadeFilter::parameterDidChange(size_t)
{
    mIsChanged = true;
}

/// The last frames of what was there and what has come.
void CascadeFilter::keepHistory(const SampleBlock& block)
{
    const auto most = static_cast<size_t>(kHistorySeconds * sampleRate());
    for (size_t track = 0; track < std::min(block.size(), mHistory.size()); ++track) {
        FloatBuffer& kept = mHistory[track];
        const FloatBuffer& added = block[track];
        const size_t numAdded = std::min(most, added.size());
        const size_t numKept = std::min(most - numAdded, kept.size());
        kept.erase(kept.begin(), kept.end() - static_cast<std::ptrdiff_t>(numKept));
        kept.insert(kept.end(), added.end() - static_cast<std::ptrdiff_t>(numAdded), added.end());
    }
}

void CascadeFilter::beginFade()
{
    mIsChanged = false;
    mNext.emplace(design(), mHistory.size());
    mNumFaded = 0;
    SampleBlock heard = mHistory;
    if (!heard.empty())
        processRun(*mNext, heard, 0, heard.front().size());
}

void CascadeFilter::processRun(BiquadCascade& cascade, SampleBlock& block, size_t start, size_t count) const
{
    if (cascade.filter().isUnity())
        return;
    const size_t numTracks = std::min(block.size(), 2 * cascade.numPairs());
    const auto processPair = [&](int pair) {
        const auto track = 2 * static_cast<size_t>(pair);
        const std::span<float> second =
            track + 1 < numTracks ? std::span(block[track + 1]).subspan(start, count) : std::span<float>();
        cascade.processPair(static_cast<size_t>(pair), std::span(block[track]).subspan(start, count), second);
    };
    runConcurrently(static_cast<int>((numTracks + 1) / 2), processPair);
}

void CascadeFilter::processFade(SampleBlock& block, size_t start, size_t count)
{
    mFading = block;
    processRun(*mCascade, block, start, count);
    processRun(*mNext, mFading, start, count);
    const auto length = static_cast<double>(std::max<int64_t>(1, std::llround(kFadeSeconds * sampleRate())));
    for (size_t i = 0; i < count; ++i) {
        const double position = static_cast<double>(mNumFaded + static_cast<int64_t>(i)) / length;
        const double part = 0.5 - 0.5 * std::cos(std::numbers::pi * std::min(1.0, position));
        for (size_t track = 0; track < block.size(); ++track) {
            const double before = block[track][start + i];
            block[track][start + i] =
                static_cast<float>(before + part * (mFading[track][start + i] - before));
        }
    }
    mNumFaded += static_cast<int64_t>(count);
    if (static_cast<double>(mNumFaded) >= length)
        mCascade = std::exchange(mNext, std::nullopt);
}

bool CascadeFilter::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    if (!mCascade || block.empty())
        return true;
    if (mIsChanged && !mNext)
        beginFade();
    keepHistory(block);
    const auto fade = static_cast<int64_t>(std::llround(kFadeSeconds * sampleRate()));
    size_t start = 0;
    if (mNext) {
        start = static_cast<size_t>(std::clamp<int64_t>(fade - mNumFaded, 1, std::ssize(block.front())));
        processFade(block, 0, start);
    }
    processRun(*mCascade, block, start, block.front().size() - start);
    return true;
}

} // namespace velloria
