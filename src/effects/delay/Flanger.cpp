#include "effects/delay/Flanger.h"

#include "effects/frame/CommonParameters.h"
#include "platform/DispatchQueue.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velloria
{

namespace
{

/// What a script that names none of them gets, for flanger and chorus alike.
constexpr double kScriptSpeed = 2.0;
constexpr double kScriptDelay = 10.0;
constexpr double kScriptDepth = 15.0;

/// Shorter blocks cost less than to wake another core for them.
constexpr size_t kLeastFramesToShare = 1024;

/// cos(2 pi x) for |x| below 2^50, to the last digits of a double, in a loop that the compiler vectorises:
/// the library's function would take most of an effect's time.
double cosineOfCycles(double x)
{
    // Adding and taking away 1.5 * 2^52 rounds to whole cycles.
    constexpr double kRounder = 6755399441055744.0;
    const double whole = (x + kRounder) - kRounder;
    // The cosine is a sine of what lacks to a quarter cycle, which is at most a quarter.
    const double angle = 2.0 * std::numbers::pi * (0.25 - std::fabs(x - whole));
    const double square = angle * angle;
    // Taylor's series up to the 21st power, whose error is below 3e-16 here.
    double sum = 0.0;
    for (const double part : {-1.0 / 420.0, -1.0 / 342.0, -1.0 / 272.0, -1.0 / 210.0, -1.0 / 156.0,
                              -1.0 / 110.0, -1.0 / 72.0, -1.0 / 42.0, -1.0 / 20.0, -1.0 / 6.0})
        sum = (1.0 + sum) * (square * part);
    return angle * (1.0 + sum);
}

ParameterDescription makeWaveform(const QString& keyWord)
{
    ParameterDescription waveform;
    waveform.kind = ParameterDescription::Kind::choice;
    waveform.name = QStringLiteral("Sweep");
    waveform.summary = QStringLiteral("Shape of the sweep.");
    waveform.choices = {QStringLiteral("Triangle"), QStringLiteral("Sine")};
    waveform.defaultValue = 1.0;
    waveform.scriptDefaultValue = 1.0;
    // Written where it is not read, so that each start begins with a sine.
    waveform.settingsKey = QStringLiteral("filter.%1.waveformShape").arg(keyWord);
    waveform.settingsReadKey = QStringLiteral("filter.%1.waveform").arg(keyWord);
    return waveform;
}

} // namespace

std::vector<ParameterDescription> Flanger::makeDescriptions(const Kind& kind)
{
    namespace Common = CommonParameters;
    const QString milliseconds = QStringLiteral("ms");
    ParameterDescription dry =
        Common::level(QStringLiteral("Dry level"), QStringLiteral("Level of the sound itself."), -3.0);
    ParameterDescription wet =
        Common::level(QStringLiteral("Wet level"), QStringLiteral("Level of the delayed sound."), -3.0);
    ParameterDescription cycle = Common::number(
        QStringLiteral("Speed"), QStringLiteral("How long the delay takes to sweep to and fro."),
        QStringLiteral("s"), 0.05, 20.0, kind.speedSeconds);
    ParameterDescription time = Common::number(QStringLiteral("Delay"), QStringLiteral("Shortest delay."),
                                               milliseconds, 0.0, 50.0, kind.delayMilliseconds);
    ParameterDescription depth =
        Common::number(QStringLiteral("Sweep depth"), QStringLiteral("How much longer the delay becomes."),
                       milliseconds, 0.0, 50.0, kind.depthMilliseconds);
    cycle.hardMinimum = 0.001;
    cycle.hardMaximum = 1000.0;
    time.hardMaximum = 5000.0;
    depth.hardMaximum = 5000.0;
    for (ParameterDescription* const parameter : {&cycle, &time, &depth})
        parameter->decimals = 2;
    for (ParameterDescription* const parameter : {&dry, &wet})
        parameter->scriptDefaultValue = 0.0;
    cycle.scriptDefaultValue = kScriptSpeed;
    time.scriptDefaultValue = kScriptDelay;
    depth.scriptDefaultValue = kScriptDepth;
    Common::setKeys(dry, kind.keyWord, QStringLiteral("dryMix"), QStringLiteral("Dry"));
    Common::setKeys(wet, kind.keyWord, QStringLiteral("wetMix"), QStringLiteral("Wet"));
    Common::setKeys(cycle, kind.keyWord, QStringLiteral("speed"), QStringLiteral("Speed"));
    Common::setKeys(time, kind.keyWord, QStringLiteral("delay"), QStringLiteral("Delay"));
    Common::setKeys(depth, kind.keyWord, QStringLiteral("sweepDepth"), QStringLiteral("Depth"));
    return {dry, wet, cycle, time, depth, makeWaveform(kind.keyWord), Common::letItRing(kind.keyWord)};
}

PresetFormat Flanger::makePresetFormat(const QString& folderName)
{
    using Type = PresetField::Type;
    const auto layout = [](FourCharCode code, int32_t version, Type type) {
        PresetLayout made{code, version, {}};
        for (const size_t parameter : {dryLevel, wetLevel, speed, delay, sweepDepth})
            made.fields.push_back({type, parameter});
        made.fields.push_back({Type::int32, waveform});
        return made;
    };
    return {folderName,
            {layout(fourCharCode("flan"), 220, Type::float32),
             layout(fourCharCode("chor"), 200, Type::float64),
             layout(fourCharCode("flng"), 200, Type::float64)},
            QString()};
}

const std::vector<ParameterDescription>& Flanger::describeParameters()
{
    static const std::vector<ParameterDescription> list =
        makeDescriptions({QStringLiteral("flanger"), 1.0, 0.5, 1.5});
    return list;
}

Flanger::Flanger(const QString& name)
    : Flanger(name, describeParameters(), 0.0)
{
}

Flanger::Flanger(const QString& name, const std::vector<ParameterDescription>& descriptions,
                 double trackOutOfPhase)
    : Filter(name, descriptions)
    , mTrackOutOfPhase(trackOutOfPhase)
{
}

const PresetFormat* Flanger::presetFormat() const
{
    static const PresetFormat format = makePresetFormat(QStringLiteral("Flanger"));
    return &format;
}

void Flanger::setUpFactors()
{
    mDryFactor = factorWithDecibels(parameterValue(dryLevel));
    mWetFactor = factorWithDecibels(parameterValue(wetLevel));
    mDelayBase = frames(parameterValue(sweepDepth) * 0.5 + parameterValue(delay));
    mDelayDeviation = frames(parameterValue(sweepDepth) * 0.5);
    const auto numNeeded = static_cast<int32_t>(std::ceil(mDelayBase + mDelayDeviation + 4.0));
    for (CircularInterpolatedBuffer& buffer : mBuffers)
        if (buffer.numFrames() < numNeeded)
            buffer.setNumFrames(numNeeded);
}

void Flanger::parameterDidChange(size_t)
{
    // Without a source there is no rate to count frames by; it is done again when processing begins.
    if (mSource)
        setUpFactors();
}

void Flanger::processingWillBegin()
{
    Filter::processingWillBegin();
    mBuffers.clear();
    setUpFactors();
    const auto numFrames = static_cast<int32_t>(std::ceil(mDelayBase + mDelayDeviation + 1.0));
    mBuffers.assign(static_cast<size_t>(std::max(0, numTracks())), CircularInterpolatedBuffer(numFrames));
    mMark = 0.0;
}

int64_t Flanger::tailTimeNumFrames() const
{
    return static_cast<int64_t>(std::ceil(frames(parameterValue(sweepDepth) + parameterValue(delay)) + 4.0));
}

/// Where each frame of the block reads its track's line.
void Flanger::getPositions(size_t track, std::span<float> positions) const
{
    const double rate = sampleRate();
    const double cyclesPerSecond = 1.0 / parameterValue(speed);
    const double start = mTrackOutOfPhase * static_cast<double>(track);
    const auto phaseOf = [&](size_t i) {
        return start + ((static_cast<double>(i) + mMark) / rate) * cyclesPerSecond;
    };
    if (parameterValue(waveform) != 0.0) {
        for (size_t i = 0; i < positions.size(); ++i) {
            const double swing = mDelayDeviation * cosineOfCycles(phaseOf(i));
            positions[i] = static_cast<float>(-(mDelayBase - swing + 1.0));
        }
        return;
    }
    // Named a triangle, heard as a ramp: it rises from 1 to 5 and falls back at once. Its sound is known so.
    for (size_t i = 0; i < positions.size(); ++i) {
        const double fraction = std::fmod(phaseOf(i), 1.0);
        const double level = 2.0 * std::fabs(2.0 * fraction + 1.0) - 1.0;
        positions[i] = static_cast<float>(-(mDelayBase + mDelayDeviation * level));
    }
}

bool Flanger::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    const size_t numTracks = std::min(block.size(), mBuffers.size());
    mPositions.resize(numTracks);
    const bool isTogether = mTrackOutOfPhase == 0.0;
    const auto processTrack = [&](size_t track) {
        // Tracks that sweep together read at the same places.
        const size_t sweep = isTogether ? 0 : track;
        if (!isTogether)
            getPositions(track, mPositions[track]);
        mBuffers[track].process(mPositions[sweep], block[track], mWetFactor, mDryFactor);
    };
    for (std::vector<float>& positions : mPositions)
        positions.resize(block.front().size());
    if (isTogether && numTracks > 0)
        getPositions(0, mPositions.front());
    if (block.front().size() >= kLeastFramesToShare && numTracks > 1)
        runConcurrently(static_cast<int>(numTracks),
                        [&](int track) { processTrack(static_cast<size_t>(track)); });
    else
        for (size_t track = 0; track < numTracks; ++track)
            processTrack(track);
    mMark += static_cast<double>(block.back().size());
    return true;
}

} // namespace velloria
