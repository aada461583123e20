#include "effects/generators/Generator.h"

#include "document/clips/ComputedSound.h"
#include "effects/frame/CommonParameters.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int64_t kBlockNumFrames = 1024;

} // namespace

Generator::Generator(const QString& name, const std::vector<ParameterDescription>& parameters)
    : mName(name)
    , mParameters(parameters)
{
}

std::vector<ParameterDescription> Generator::commonDescriptions()
{
    ParameterDescription duration = CommonParameters::number(
        QStringLiteral("Duration"), QStringLiteral("How long it lasts; left out, as long as the selection."),
        QStringLiteral("s"), 0.01, 60.0, 1.0);
    duration.hardMinimum = 0.0;
    duration.hardMaximum = 1e6;
    duration.decimals = 3;
    duration.settingsKey = QStringLiteral("insert.duration");
    duration.scriptKey = QStringLiteral("Duration");
    ParameterDescription amplitude = CommonParameters::level(
        QStringLiteral("Amplitude"), QStringLiteral("Level of its peaks; 0 dB is full scale."), 0.0);
    amplitude.maximum = 0.0;
    amplitude.settingsKey = QStringLiteral("insert.amplitude");
    amplitude.scriptKey = QStringLiteral("Amplitude");
    return {duration, amplitude};
}

ParameterDescription Generator::frequency(const QString& name, const QString& summary, double defaultHz,
                                          const QString& word, const QString& scriptKey)
{
    ParameterDescription parameter =
        CommonParameters::number(name, summary, QStringLiteral("Hz"), 1.0, 20000.0, defaultHz);
    parameter.hardMinimum = 1e-6;
    parameter.hardMaximum = 1e6;
    parameter.decimals = 2;
    parameter.settingsKey = QStringLiteral("insert.") + word;
    parameter.scriptKey = scriptKey;
    return parameter;
}

void Generator::begin(double sampleRate)
{
    mSampleRate = sampleRate;
    mLength.reset();
    mFrame = 0;
}

double Generator::amplitude() const
{
    return std::pow(10.0, mParameters.value(kAmplitude) / 20.0);
}

int64_t Generator::advance(size_t numFrames)
{
    const int64_t frame = mFrame;
    mFrame += static_cast<int64_t>(numFrames);
    return frame;
}

std::shared_ptr<MutableAudioClip> Generator::makeClip(double sampleRate, int64_t numFrames,
                                                      Progress* progress, MaybeError* error)
{
    if ((*error = ComputedSound::lackOfRoom(numFrames, 1)))
        return nullptr;
    std::shared_ptr<MutableAudioClip> clip = MutableAudioClip::clipWithSampleRate(sampleRate);
    FloatBuffer block;
    begin(sampleRate);
    mLength = numFrames;
    for (int64_t numDone = 0; numDone < numFrames && !*error;) {
        block.resize(static_cast<size_t>(std::min(kBlockNumFrames, numFrames - numDone)));
        render(block);
        *error = clip->appendData(block);
        numDone += std::ssize(block);
        if (progress)
            progress->setProgressValue(static_cast<double>(numDone) / static_cast<double>(numFrames));
        if (progress && progress->isCancelled() && !*error)
            *error = Error::cancelled();
    }
    if (*error)
        return nullptr;
    clip->finalizeCache();
    return clip;
}

} // namespace velloria
