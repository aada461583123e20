#include "effects/gain/AmplifyVolume.h"

#include "effects/frame/CommonParameters.h"
#include "effects/frame/SampleArithmetic.h"

namespace velloria
{

namespace
{

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = {[] {
        ParameterDescription gain = CommonParameters::number(
            QStringLiteral("Gain"), QStringLiteral("How much louder (or softer, below 0) the sound becomes."),
            QStringLiteral("dB"), -60.0, 40.0, 0.0);
        gain.hardMinimum = -200.0;
        gain.hardMaximum = 200.0;
        CommonParameters::setKeys(gain, QStringLiteral("amplifyVolume"), QStringLiteral("gain"),
                                  QStringLiteral("Gain"));
        return gain;
    }()};
    return list;
}

} // namespace

AmplifyVolume::AmplifyVolume(const QString& name)
    : Filter(name, describeParameters())
{
}

void AmplifyVolume::parameterDidChange(size_t)
{
    mAmpFactor = static_cast<float>(factorWithDecibels(gainDB()));
}

bool AmplifyVolume::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    for (FloatBuffer& buffer : block)
        SampleArithmetic::scale(buffer, mAmpFactor);
    return true;
}

ComputedClip::Function AmplifyVolume::outputOfTrack(const AudioTrackPtr& track, size_t) const
{
    return [track, factor = mAmpFactor, start = mSource->loopStart()](int64_t offset, std::span<float> out) {
        track->readSamples(start + offset, out);
        SampleArithmetic::scale(out, factor);
    };
}

} // namespace velloria
