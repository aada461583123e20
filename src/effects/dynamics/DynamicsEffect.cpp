#include "effects/dynamics/DynamicsEffect.h"

#include "effects/frame/CommonParameters.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr double kLongestSeconds = 60.0;

ParameterDescription makeTime(const QString& name, const QString& summary, double longest,
                              double defaultSeconds)
{
    ParameterDescription time =
        CommonParameters::number(name, summary, QStringLiteral("s"), 0.0, longest, defaultSeconds);
    time.hardMaximum = kLongestSeconds;
    time.decimals = 3;
    return time;
}

} // namespace

ParameterDescription DynamicsEffect::makeThreshold(const Kind& kind)
{
    ParameterDescription threshold = CommonParameters::number(
        QStringLiteral("Threshold"), kind.thresholdSummary, QStringLiteral("dB"), -80.0, 0.0, -20.0);
    threshold.hardMinimum = -200.0;
    threshold.hardMaximum = 40.0;
    CommonParameters::setKeys(threshold, kind.keyWord, QStringLiteral("threshold"),
                              QStringLiteral("ThresholdDB"));
    return threshold;
}

ParameterDescription DynamicsEffect::makeRatio(const Kind& kind, double defaultValue, const QString& summary)
{
    ParameterDescription ratio = CommonParameters::number(QStringLiteral("Ratio"), summary,
                                                          QStringLiteral(": 1"), 1.0, 50.0, defaultValue);
    ratio.hardMaximum = 1000.0;
    CommonParameters::setKeys(ratio, kind.keyWord, QStringLiteral("ratio"), QStringLiteral("Ratio"));
    return ratio;
}

ParameterDescription DynamicsEffect::makeAttack(const Kind& kind)
{
    const bool isCompressing = kind.law == DynamicsEngine::Law::compress;
    ParameterDescription attack = makeTime(
        QStringLiteral("Attack"),
        isCompressing ? QStringLiteral("How long the gain takes to fall when the sound becomes too loud.")
                      : QStringLiteral("How long the gain takes to rise when the sound comes back."),
        1.0, kind.attackSeconds);
    CommonParameters::setKeys(attack, kind.keyWord, QStringLiteral("attack"), QStringLiteral("Attack"));
    return attack;
}

ParameterDescription DynamicsEffect::makeRelease(const Kind& kind)
{
    const bool isCompressing = kind.law == DynamicsEngine::Law::compress;
    ParameterDescription release =
        makeTime(QStringLiteral("Release"),
                 isCompressing ? QStringLiteral("How long the gain takes to recover.")
                               : QStringLiteral("How long the gain takes to fall when the sound has ended."),
                 5.0, kind.releaseSeconds);
    CommonParameters::setKeys(release, kind.keyWord, QStringLiteral("release"), QStringLiteral("Release"));
    return release;
}

ParameterDescription DynamicsEffect::makeRms(const Kind& kind)
{
    ParameterDescription rms;
    rms.kind = ParameterDescription::Kind::toggle;
    rms.name = QStringLiteral("Follow the mean level (RMS)");
    rms.summary = QStringLiteral("Goes by the mean power instead of the peaks.");
    rms.isOnOnlyWhenOne = true;
    CommonParameters::setKeys(rms, kind.keyWord, QStringLiteral("rms"), QStringLiteral("ThresholdRMS"));
    return rms;
}

DynamicsEffect::DynamicsEffect(const QString& name, const std::vector<ParameterDescription>& descriptions,
                               DynamicsEngine::Law law)
    : Filter(name, descriptions)
    , mEngine(law)
{
}

void DynamicsEffect::setUpFactors()
{
    mEngine.setUp(settings(), sampleRate());
}

void DynamicsEffect::parameterDidChange(size_t)
{
    // Without a source there is no rate to count time by; it is done again when processing begins.
    if (source())
        setUpFactors();
}

void DynamicsEffect::processingWillBegin()
{
    Filter::processingWillBegin();
    mEngine.reset(static_cast<size_t>(std::max(0, numTracks())));
    setUpFactors();
}

bool DynamicsEffect::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    mEngine.process(block);
    return true;
}

} // namespace velloria
