#include "effects/delay/Flanger.h"

#include "effects/delay/Sweep.h"
#include "effects/frame/CommonParameters.h"
#include "platform/DispatchQueue.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

/// What a script that names none of them gets, for flanger and chorus alike.
constexpr double kScriptSpeed = 2.0;
constexpr double kScriptDelay = 10.0;
constexpr double kScriptDepth = 15.0;

/// Long enough for tracks side by side to be worth waking a core for.
constexpr uint64_t kBlockNumFrames = 16384;
/// Shorter blocks cost less than to wake another core for them.
constexpr size_t kLeastFramesToShare = 1024;

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
    setMaxBufferNumFrames(kBlockNumFrames);
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

/// A track's part of a block, in runs of reads.
template <typename Process> void Flanger::sweepThrough(size_t numFrames, double phase, Process process) const
{
    const Sweep sweep(
        {parameterValue(waveform) != 0.0, mDelayBase, mDelayDeviation, parameterValue(speed), sampleRate()});
    std::array<float, InterpolationTaps::kMostReads> positions;
    InterpolationTaps taps;
    for (size_t start = 0; start < numFrames; start += positions.size()) {
        const size_t count = std::min(positions.size(), numFrames - start);
        const std::span<float> used = std::span(positions).first(count);
        sweep.getPositions(mMark + static_cast<double>(start), phase, used);
        taps.set(used);
        process(taps, start, count);
    }
}

bool Flanger::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    const size_t numTracks = std::min(block.size(), mBuffers.size());
    const size_t count = block.front().size();
    const auto processRun = [&](size_t track, const InterpolationTaps& taps, size_t start, size_t length) {
        mBuffers[track].process(taps, std::span(block[track]).subspan(start, length), mWetFactor, mDryFactor);
    };
    const auto processTrack = [&](int index) {
        const auto track = static_cast<size_t>(index);
        sweepThrough(count, mTrackOutOfPhase * static_cast<double>(index),
                     [&](const InterpolationTaps& taps, size_t start, size_t length) {
                         processRun(track, taps, start, length);
                     });
    };
    if (mTrackOutOfPhase == 0.0) {
        // Tracks that sweep together are read at the same places.
        sweepThrough(count, 0.0, [&](const InterpolationTaps& taps, size_t start, size_t length) {
            for (size_t track = 0; track < numTracks; ++track)
                processRun(track, taps, start, length);
        });
    } else if (count >= kLeastFramesToShare && numTracks > 1) {
        runConcurrently(static_cast<int>(numTracks), processTrack);
    } else {
        for (size_t track = 0; track < numTracks; ++track)
            processTrack(static_cast<int>(track));
    }
    mMark += static_cast<double>(block.back().size());
    return true;
}

} // namespace velloria
