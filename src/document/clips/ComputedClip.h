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

    /// `input` is what the function reads.
    ComputedClip(int64_t numFrames, AudioTrackPtr input, Function function);
    ComputedClip(const ComputedClip& whole, int64_t offset, int64_t numFrames);

    void addSourcesTo(SourceWatch& watch) const override;
    int64_t readSamples(int64_t offset, std::span<float> out) const override;
    AudioClipPtr subdataWithOffset(int64_t offset, int64_t numFrames) const override;

private:
    struct Computation : Origin {
        Computation(AudioTrackPtr track, Function f)
            : input(std::move(track))
            , function(std::move(f))
        {
        }
        const AudioTrackPtr input;
        const Function function;
    };
};

} // namespace velloria
