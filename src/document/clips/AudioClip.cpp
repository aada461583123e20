#include "document/clips/AudioClip.h"

#include "document/clips/SourceReader.h"
#include "document/clips/SourceWatch.h"

#include <algorithm>

namespace velloria
{

AudioClip::AudioClip()
    : AudioClip(std::make_shared<Origin>())
{
}

AudioClip::AudioClip(std::shared_ptr<Origin> origin)
    : mOrigin(std::move(origin))
{
}

AudioClip::AudioClip(int64_t numFrames)
    : _numFrames(std::max<int64_t>(0, numFrames))
    , _waveformCache(WaveformCache::none())
{
}

AudioClip::AudioClip(std::shared_ptr<const SampleSource> file, int64_t fileOffset, int64_t numFrames,
                     int64_t channel)
    : _numFrames(numFrames)
    , _sourceOffset(fileOffset)
    , mOrigin(std::make_shared<Origin>(Origin{std::move(file), channel}))
{
}

AudioClip::AudioClip(const AudioClip& whole, int64_t offset, int64_t numFrames)
    : _numFrames(std::max<int64_t>(0, std::min(whole.numFrames() - offset, numFrames)))
    , _sourceOffset(whole.isSilence() ? 0 : whole._sourceOffset + offset)
    , mOrigin(whole.mOrigin)
    , _waveformCache(
          whole._waveformCache.subdataWithOffset(offset, _numFrames.load(std::memory_order_relaxed)))
{
}

AudioClip::~AudioClip() = default;

const std::shared_ptr<const SampleSource>& AudioClip::sourceFile() const
{
    static const std::shared_ptr<const SampleSource> none;
    return mOrigin ? mOrigin->_sourceFile : none;
}

StoredSamples AudioClip::storedSamples() const
{
    const SampleSource* source = sourceFile().get();
    return source ? StoredSamples{source->sampleBits(), source->isFloat(), false} : StoredSamples();
}

void AudioClip::addSourcesTo(SourceWatch& watch) const
{
    if (sourceFile())
        watch.add(sourceFile());
}

int64_t AudioClip::readSamples(int64_t offset, std::span<float> out) const
{
    const SampleSource* source = mOrigin ? mOrigin->_sourceFile.get() : nullptr;
    if (!source) {
        std::fill(out.begin(), out.end(), 0.0F);
        return static_cast<int64_t>(out.size());
    }
    const SourceReader::Channel channel = {mOrigin->_channelIndex, out.data()};
    const size_t numRead =
        SourceReader::read(*source, offset + _sourceOffset, std::span(&channel, 1), out.size());
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(numRead), out.end(), 0.0F);
    return static_cast<int64_t>(numRead);
}

FloatBuffer AudioClip::sampleDataAtOffset(int64_t offset, int64_t numFrames) const
{
    FloatBuffer samples(static_cast<size_t>(std::max<int64_t>(0, numFrames)));
    readSamples(offset, samples);
    return samples;
}

bool AudioClip::getMin(double& min, double& max, int64_t offset, int64_t numFrames) const
{
    if (numFrames < 1 || isSilence()) {
        min = 0.0;
        max = 0.0;
        return true;
    }
    return _waveformCache.getMin(min, max, offset, numFrames);
}

AudioClipPtr AudioClip::subdataWithOffset(int64_t offset, int64_t numFrames) const
{
    return std::make_shared<AudioClip>(*this, offset, numFrames);
}

} // namespace velloria
