#pragma once

#include "document/clips/AudioClip.h"

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

    ComputedClip(int64_t numFrames, Function function);
    ComputedClip(const ComputedClip& whole, int64_t offset, int64_t numFrames);

    int64_t readSamples(int64_t offset, std::span<float> out) const override;
    AudioClipPtr subdataWithOffset(int64_t offset, int64_t numFrames) const override;

private:
    struct Computation : Origin {
        explicit Computation(Function f)
            : function(std::move(f))
        {
        }
        const Function function;
    };
};

} // namespace velloria
