#include "effects/gain/NormalizeLoudness.h"

#include "effects/frame/CommonParameters.h"
#include "effects/frame/SampleArithmetic.h"
#include "measurement/Levels.h"
#include "measurement/LoudnessMeter.h"
#include "platform/DispatchQueue.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velloria
{

namespace
{

// Long enough for the tracks to be measured side by side.
constexpr uint64_t kBlockNumFrames = 32768;
constexpr double kUnknown = -std::numeric_limits<double>::infinity();

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = [] {
        const QString keyWord = QStringLiteral("normalizeLoudness");
        // What broadcasters agreed on (EBU R 128).
        ParameterDescription loudness =
            CommonParameters::number(QStringLiteral("Target loudness"),
                                     QStringLiteral("Integrated loudness that the whole is brought to."),
                                     QStringLiteral("LUFS"), -60.0, 0.0, -23.0);
        CommonParameters::setKeys(loudness, keyWord, QStringLiteral("loudness"), QStringLiteral("Loudness"));
        ParameterDescription ceiling = CommonParameters::number(
            QStringLiteral("True-peak ceiling"),
            QStringLiteral("The sound is made no louder than lets its true peak stay below this."),
            QStringLiteral("dBTP"), -30.0, 0.0, -1.0);
        CommonParameters::setKeys(ceiling, keyWord, QStringLiteral("ceiling"), QStringLiteral("Ceiling"));
        return std::vector<ParameterDescription>{loudness, ceiling};
    }();
    return list;
}

} // namespace

NormalizeLoudness::NormalizeLoudness(const QString& name)
    : Filter(name, describeParameters())
    , mLoudness(kUnknown)
{
    setMaxBufferNumFrames(kBlockNumFrames);
}

NormalizeLoudness::~NormalizeLoudness() = default;

void NormalizeLoudness::setSource(std::shared_ptr<DocumentSource> source)
{
    Filter::setSource(std::move(source));
    mLoudness = kUnknown;
    mFactor = 1.0F;
}

bool NormalizeLoudness::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    for (FloatBuffer& track : block)
        SampleArithmetic::scale(track, mFactor);
    return true;
}

ComputedClip::Function NormalizeLoudness::outputOfTrack(const AudioTrackPtr& track, size_t) const
{
    return [track, factor = mFactor, start = mSource->loopStart()](int64_t offset, std::span<float> out) {
        track->readSamples(start + offset, out);
        SampleArithmetic::scale(out, factor);
    };
}

void NormalizeLoudness::parameterDidChange(size_t)
{
    setFactor();
}

void NormalizeLoudness::analysisWillBegin()
{
    const auto count = static_cast<size_t>(std::max(numTracks(), 0));
    mLoudnessMeter = LoudnessMeter::make(sampleRate(), count);
    mTruePeakMeters.assign(count, TruePeakMeter());
}

void NormalizeLoudness::analyseBlock(std::span<const std::span<const float>> tracks)
{
    bool isMeasured = true;
    runConcurrently(static_cast<int>(1 + std::min(tracks.size(), mTruePeakMeters.size())), [&](int job) {
        if (job > 0)
            mTruePeakMeters[static_cast<size_t>(job - 1)].addSamples(tracks[static_cast<size_t>(job - 1)]);
        else if (mLoudnessMeter)
            isMeasured = mLoudnessMeter->addFrames(tracks);
    });
    if (!isMeasured)
        mLoudnessMeter.reset();
}

void NormalizeLoudness::analysisDidEnd()
{
    mLoudness = mLoudnessMeter ? mLoudnessMeter->integrated() : kUnknown;
    mTruePeak = 0.0;
    for (const TruePeakMeter& meter : mTruePeakMeters)
        mTruePeak = std::max(mTruePeak, static_cast<double>(meter.truePeak()));
    mLoudnessMeter.reset();
    mTruePeakMeters.clear();
    setFactor();
}

bool NormalizeLoudness::hasLoudness() const
{
    return std::isfinite(mLoudness) && mTruePeak > 0.0;
}

std::optional<EffectRemark> NormalizeLoudness::remark() const
{
    if (hasLoudness())
        return std::nullopt;
    return EffectRemark{mTruePeak > 0.0 ? EffectRemark::Kind::noLoudness : EffectRemark::Kind::silent, {}};
}

void NormalizeLoudness::setFactor()
{
    mFactor = 1.0F;
    if (!hasLoudness())
        return;
    const double gainDB = std::min(targetLoudness() - mLoudness, ceilingDB() - decibelsOfLevel(mTruePeak));
    mFactor = static_cast<float>(factorWithDecibels(gainDB));
}

} // namespace velloria
