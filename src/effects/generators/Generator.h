#pragma once

#include "document/clips/MutableAudioClip.h"
#include "effects/frame/EffectParameters.h"
#include "platform/Error.h"
#include "platform/Progress.h"

#include <memory>
#include <optional>
#include <span>

namespace velloria
{

/// Base of what makes sound instead of changing it. It needs no selection; one that is there gives the
/// length. Every track gets the same samples. One thread at a time.
class Generator
{
public:
    /// The parameters that all have, and the first ones of each.
    static constexpr size_t kDuration = 0;  ///< seconds
    static constexpr size_t kAmplitude = 1; ///< dB
    static constexpr size_t kNumCommonParameters = 2;

    virtual ~Generator() = default;
    Generator(const Generator&) = delete;
    Generator& operator=(const Generator&) = delete;

    const QString& name() const { return mName; }
    EffectParameters& parameters() { return mParameters; }
    const EffectParameters& parameters() const { return mParameters; }

    /// What chance hangs on, from the next beginning on: the same numbers give the same sound. Nothing to
    /// those that leave nothing to chance.
    virtual void setSeed(const std::vector<uint32_t>&) {}

    /// Starts from the first frame. There is no end.
    virtual void begin(double sampleRate);
    /// The next frames. A parameter that was changed counts from here on.
    virtual void render(std::span<float> samples) = 0;

    /// A new clip of so many frames. Null, with the error, when it fails or the progress is cancelled.
    std::shared_ptr<MutableAudioClip> makeClip(double sampleRate, int64_t numFrames, Progress* progress,
                                               MaybeError* error);

protected:
    Generator(const QString& name, const std::vector<ParameterDescription>& parameters);

    static std::vector<ParameterDescription> commonDescriptions();
    /// A frequency in Hz, kept under "insert." and the word.
    static ParameterDescription frequency(const QString& name, const QString& summary, double defaultHz,
                                          const QString& word, const QString& scriptKey);
    double sampleRate() const { return mSampleRate; }
    /// Frames that are asked for in all; nothing for a preview, which goes on until it is stopped.
    std::optional<int64_t> length() const { return mLength; }
    /// As a factor.
    double amplitude() const;
    /// The number of the next frame, and on by so many.
    int64_t advance(size_t numFrames);

private:
    const QString mName;
    EffectParameters mParameters;
    double mSampleRate = 44100.0;
    std::optional<int64_t> mLength;
    int64_t mFrame = 0;
};

} // namespace velloria
