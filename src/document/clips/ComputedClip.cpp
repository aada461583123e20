#include "document/clips/ComputedClip.h"

#include "document/clips/ComputedSound.h"
#include "document/clips/SourceWatch.h"

#include <algorithm>

namespace velloria
{

ComputedClip::ComputedClip(int64_t numFrames, AudioTrackPtr input, Function function,
                           const StoredSamples& samples)
    : AudioClip(std::make_shared<Computation>(std::move(input), std::move(function), samples))
{
    _numFrames.store(numFrames, std::memory_order_relaxed);
    _waveformCache = WaveformCache::none();
}

ComputedClip::ComputedClip(const ComputedClip& whole, int64_t offset, int64_t numFrames)
    : AudioClip(whole, offset, numFrames)
{
}

void ComputedClip::addSourcesTo(SourceWatch& watch) const
{
    watch.add(*computation().input);
}

int64_t ComputedClip::readSamples(int64_t offset, std::span<float> out) const
{
    const int64_t available = std::max<int64_t>(0, numFrames() - offset);
    const auto count = std::min(out.size(), static_cast<size_t>(available));
    const std::span<float> samples = out.first(count);
    computation().function(_sourceOffset + offset, samples);
    if (!ComputedSound::areFinite(samples))
        computation().hasInvalid.store(true, std::memory_order_relaxed);
    if (ComputedSound::exceedFullScale(samples))
        computation().isLoud.store(true, std::memory_order_relaxed);
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(count), out.end(), 0.0F);
    return static_cast<int64_t>(count);
}

AudioClipPtr ComputedClip::subdataWithOffset(int64_t offset, int64_t numFrames) const
{
    return std::make_shared<ComputedClip>(*this, offset, numFrames);
}

} // namespace velloria
