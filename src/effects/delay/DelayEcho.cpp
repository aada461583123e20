#include "effects/delay/DelayEcho.h"

#include "effects/frame/CommonParameters.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

namespace velloria
{

namespace
{

const QString kKeyWord = QStringLiteral("delayEcho");
/// Repeats ring on until they are this soft,
constexpr double kSilenceDB = -100.0;
/// or for so long: some never become softer.
constexpr double kLongestTailSeconds = 30.0;

std::vector<ParameterDescription> makeDescriptions()
{
    namespace Common = CommonParameters;
    ParameterDescription dry =
        Common::level(QStringLiteral("Dry level"), QStringLiteral("Level of the sound itself."), 0.0);
    Common::setKeys(dry, kKeyWord, QStringLiteral("dryMix"), QStringLiteral("Dry"));
    ParameterDescription wet =
        Common::level(QStringLiteral("Echo level"),
                      QStringLiteral("Level of the echo; of each repeat, below the one before."), -6.0);
    Common::setKeys(wet, kKeyWord, QStringLiteral("wetMix"), QStringLiteral("Wet"));
    // A script that does not name it wants the echo as loud as the sound.
    wet.scriptDefaultValue = 0.0;
    ParameterDescription time =
        Common::number(QStringLiteral("Delay"), QStringLiteral("Time until the echo."), QStringLiteral("s"),
                       0.001, 3.0, 0.1);
    time.hardMinimum = 0.0;
    time.hardMaximum = 60.0;
    time.decimals = 3;
    Common::setKeys(time, kKeyWord, QStringLiteral("delay"), QStringLiteral("Delay"));
    ParameterDescription repeats;
    repeats.kind = ParameterDescription::Kind::toggle;
    repeats.name = QStringLiteral("Repeat the echo");
    repeats.summary = QStringLiteral("Feeds the echo back, so that it comes again and again.");
    repeats.defaultValue = 1.0;
    repeats.scriptDefaultValue = 0.0;
    repeats.isOnOnlyWhenOne = true;
    Common::setKeys(repeats, kKeyWord, QStringLiteral("feedback"), QStringLiteral("Feedback"));
    return {dry, wet, time, repeats, Common::letItRing(kKeyWord)};
}

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = makeDescriptions();
    return list;
}

/// Numbers below those that a processor is quick with are silence.
float flushed(float sample)
{
    return std::fabs(sample) < FLT_MIN ? 0.0F : sample;
}

} // namespace

DelayEcho::DelayEcho(const QString& name)
    : Filter(name, describeParameters())
{
    setUpFactors();
}

const PresetFormat* DelayEcho::presetFormat() const
{
    using Type = PresetField::Type;
    static const PresetFormat format = {QStringLiteral("Delay"),
                                        {{fourCharCode("dlay"),
                                          200,
                                          {{Type::float64, dryLevel},
                                           {Type::float64, wetLevel},
                                           {Type::float64, delay, 1000.0},
                                           {Type::uint8, feedback}}}},
                                        QStringLiteral("-[DelayEcho loadPresetData:] Invalid preset file")};
    return &format;
}

void DelayEcho::setUpFactors()
{
    mDryFactor = factorWithDecibels(parameterValue(dryLevel));
    mWetFactor = factorWithDecibels(parameterValue(wetLevel));
}

int32_t DelayEcho::numFramesOfDelay() const
{
    return static_cast<int32_t>(std::ceil(sampleRate() * parameterValue(delay)));
}

void DelayEcho::parameterDidChange(size_t index)
{
    setUpFactors();
    if (index != delay)
        return;
    for (CircularBuffer& buffer : mBuffers)
        buffer.setNumFrames(numFramesOfDelay());
}

void DelayEcho::processingWillBegin()
{
    Filter::processingWillBegin();
    mBuffers.assign(static_cast<size_t>(std::max(0, numTracks())), CircularBuffer(numFramesOfDelay()));
}

/// Infinity for repeats that never become softer.
double DelayEcho::numFramesUntilSilence() const
{
    const int32_t time = numFramesOfDelay();
    if (!parameters().isOn(feedback) || time == 0)
        return time;
    const double levelDB = parameterValue(wetLevel);
    return levelDB < 0.0 ? std::max(1.0, std::ceil(kSilenceDB / levelDB)) * time
                         : std::numeric_limits<double>::infinity();
}

int64_t DelayEcho::tailTimeNumFrames() const
{
    return static_cast<int64_t>(std::min(numFramesUntilSilence(), kLongestTailSeconds * sampleRate()));
}

bool DelayEcho::isTailCut() const
{
    return numFramesUntilSilence() > kLongestTailSeconds * sampleRate();
}

bool DelayEcho::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    for (size_t track = 0; track < std::min(block.size(), mBuffers.size()); ++track)
        processTrack(block[track], mBuffers[track]);
    return true;
}

void DelayEcho::processTrack(std::span<float> samples, CircularBuffer& buffer) const
{
    const bool isFedBack = parameters().isOn(feedback);
    if (buffer.numFrames() == 0) {
        for (float& sample : samples)
            sample = static_cast<float>(static_cast<double>(sample) * mDryFactor);
        return;
    }
    // Each slot is read before it is written, and no other within a run: the loop is free of waiting.
    while (!samples.empty()) {
        const std::span<float> slots = buffer.run(samples.size());
        for (size_t i = 0; i < slots.size(); ++i) {
            const float input = samples[i];
            samples[i] = static_cast<float>(static_cast<double>(slots[i]) * mWetFactor +
                                            static_cast<double>(input) * mDryFactor);
            slots[i] = isFedBack ? flushed(samples[i]) : input;
        }
        buffer.advance(slots.size());
        samples = samples.subspan(slots.size());
    }
}

} // namespace velloria
