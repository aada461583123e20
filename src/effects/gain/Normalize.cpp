#include "effects/gain/Normalize.h"

#include "effects/frame/CommonParameters.h"
#include "effects/frame/SampleArithmetic.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr uint64_t kBlockNumFrames = 8192;

std::vector<ParameterDescription> makeDescriptions()
{
    using Kind = ParameterDescription::Kind;
    const QString keyWord = QStringLiteral("normalize");
    ParameterDescription target = CommonParameters::number(
        QStringLiteral("Target level"), QStringLiteral("Level that the loudest part is brought to."),
        QStringLiteral("dB"), -60.0, 0.0, 0.0);
    target.hardMinimum = -200.0;
    target.hardMaximum = 200.0;
    CommonParameters::setKeys(target, keyWord, QStringLiteral("target"), QStringLiteral("Peak"));

    ParameterDescription independent;
    independent.kind = Kind::toggle;
    independent.name = QStringLiteral("Channels independently");
    independent.summary = QStringLiteral("Gives each channel a gain of its own instead of one for all.");
    // A person wants both channels at full level; a script written long ago counts on keeping their balance.
    independent.defaultValue = 1.0;
    independent.scriptDefaultValue = 0.0;
    CommonParameters::setKeys(independent, keyWord, QStringLiteral("independent"),
                              QStringLiteral("Independently"));

    ParameterDescription rms;
    rms.kind = Kind::toggle;
    rms.name = QStringLiteral("Use RMS level");
    rms.summary = QStringLiteral("Measures the loudest fifth of a second instead of the highest peak.");
    CommonParameters::setKeys(rms, keyWord, QStringLiteral("rms"), QStringLiteral("rms"));
    return {target, independent, rms};
}

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = makeDescriptions();
    return list;
}

} // namespace

Normalize::Normalize(const QString& name)
    : Filter(name, describeParameters())
{
    setMaxBufferNumFrames(kBlockNumFrames);
}

void Normalize::setSource(std::shared_ptr<DocumentSource> source)
{
    Filter::setSource(std::move(source));
    mAmpFactors.assign(static_cast<size_t>(mSource ? std::max(numTracks(), 0) : 0), 1.0F);
    mPeaks.clear();
    mRMSLevels.clear();
}

bool Normalize::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    for (size_t track = 0; track < std::min(block.size(), mAmpFactors.size()); ++track)
        SampleArithmetic::scale(block[track], mAmpFactors[track]);
    return true;
}

ComputedClip::Function Normalize::outputOfTrack(const AudioTrackPtr& track, size_t index) const
{
    const float factor = mAmpFactors.at(index);
    return [track, factor, start = mSource->loopStart()](int64_t offset, std::span<float> out) {
        track->readSamples(start + offset, out);
        SampleArithmetic::scale(out, factor);
    };
}

void Normalize::parameterDidChange(size_t)
{
    if (!mPeaks.empty())
        setFactors();
}

void Normalize::analysisWillBegin()
{
    mPeaks.assign(mAmpFactors.size(), 0.0);
    mRMSLevels.assign(mAmpFactors.size(), 0.0);
}

void Normalize::analyseBlock(std::span<const std::span<const float>> tracks)
{
    for (size_t track = 0; track < std::min(tracks.size(), mPeaks.size()); ++track) {
        const std::span<const float> samples = tracks[track];
        const double sum = SampleArithmetic::sumOfSquares(samples);
        mPeaks[track] = std::max<double>(mPeaks[track], SampleArithmetic::peak(samples));
        mRMSLevels[track] = std::max(mRMSLevels[track], std::sqrt(sum / static_cast<double>(samples.size())));
    }
}

std::optional<float> Normalize::factorForTrack(size_t track) const
{
    const double level =
        isIndependent() ? levels()[track] : *std::max_element(levels().begin(), levels().end());
    const auto factor = static_cast<float>(factorWithDecibels(targetLevelDB()) / level);
    return level > 0.0 && std::isfinite(factor) ? std::optional(factor) : std::nullopt;
}

void Normalize::setFactors()
{
    for (size_t track = 0; track < levels().size(); ++track)
        mAmpFactors[track] = factorForTrack(track).value_or(1.0F);
}

std::optional<EffectRemark> Normalize::remark() const
{
    bool isSilent = true;
    for (size_t track = 0; track < levels().size(); ++track) {
        if (factorForTrack(track))
            return std::nullopt;
        isSilent = isSilent && levels()[track] == 0.0;
    }
    return EffectRemark{isSilent ? EffectRemark::Kind::silent : EffectRemark::Kind::tooQuiet, {}};
}

} // namespace velloria
