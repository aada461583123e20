#include "effects/AmplifyVolume.h"

#include "effects/SampleArithmetic.h"

namespace velloria
{

AmplifyVolume::AmplifyVolume(const QString& name)
    : Filter(name, true)
{
    resetParameters();
}

const std::vector<ParameterDescription>& AmplifyVolume::parameters() const
{
    static const std::vector<ParameterDescription> list = {[] {
        ParameterDescription gain;
        gain.name = QStringLiteral("Gain");
        gain.summary = QStringLiteral("How much louder (or softer, below 0) the sound becomes.");
        gain.unit = QStringLiteral("dB");
        gain.minimum = -60.0;
        gain.maximum = 40.0;
        gain.hardMinimum = -200.0;
        gain.hardMaximum = 200.0;
        gain.settingsKey = QStringLiteral("filter.amplifyVolume.gain");
        gain.scriptKey = QStringLiteral("Gain");
        gain.defaultValue = 0.0;
        gain.scriptDefaultValue = 0.0;
        return gain;
    }()};
    return list;
}

void AmplifyVolume::setParameterValue(size_t index, double value)
{
    Filter::setParameterValue(index, value);
    mAmpFactor.store(static_cast<float>(factorWithDecibels(gainDB())), std::memory_order_relaxed);
}

bool AmplifyVolume::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    const float factor = mAmpFactor.load(std::memory_order_relaxed);
    for (FloatBuffer& buffer : block)
        SampleArithmetic::scale(buffer, factor);
    return true;
}

ComputedClip::Function AmplifyVolume::outputOfTrack(const AudioTrackPtr& track, size_t) const
{
    const float factor = mAmpFactor.load(std::memory_order_relaxed);
    return [track, factor, start = mSource->loopStart()](int64_t offset, std::span<float> out) {
        track->readSamples(start + offset, out);
        SampleArithmetic::scale(out, factor);
    };
}

} // namespace velloria
