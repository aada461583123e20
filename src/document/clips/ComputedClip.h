#pragma once

#include "document/clips/AudioTrack.h"

#include <functional>

namespace velloria
{

/// A clip whose samples are computed each time they are read, instead of once into a scratch file. For
/// a result that is read once more and then dropped. It has no summary.
class ComputedClip : public AudioClip
{
public:
    /// Fills `out` with the samples from `offset` within the whole result on. Called on any thread, on
    /// several at once.
    using Function = std::function<void(int64_t offset, std::span<float> out)>;

    /// `input` is what the function reads; for `samples` see ComputedSound::samplesFrom().
    ComputedClip(int64_t numFrames, AudioTrackPtr input, Function function, const StoredSamples& samples);
    ComputedClip(const ComputedClip& whole, int64_t offset, int64_t numFrames);

    void addSourcesTo(SourceWatch& watch) const override;
    StoredSamples storedSamples() const override { return computation().samples; }
    int64_t readSamples(int64_t offset, std::span<float> out) const override;
    AudioClipPtr subdataWithOffset(int64_t offset, int64_t numFrames) const override;

    // What the samples are like shows only when they are computed. Of all that was read so far, here or in
    // another part of the same result:
    /// Whether some were infinite or no numbers.
    bool hasReadInvalid() const { return computation().hasInvalid.load(std::memory_order_relaxed); }
    /// Whether some were louder than full scale.
    bool hasReadAboveFullScale() const { return computation().isLoud.load(std::memory_order_relaxed); }

private:
    struct Computation : Origin {
        Computation(AudioTrackPtr track, Function f, const StoredSamples& stored)
            : input(std::move(track))
            , function(std::move(f))
            , samples(stored)
        {
        }
        const AudioTrackPtr input;
        const Function function;
        const StoredSamples samples;
        // Relaxed: they only ever become true, and who asks has waited for the readers.
        std::atomic<bool> hasInvalid = false;
        std::atomic<bool> isLoud = false;
    };

    Computation& computation() const { return static_cast<Computation&>(*mOrigin); }
};

} // namespace velloria
