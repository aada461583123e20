#pragma once

#include "Classes/CoreAudio/DataSource.h"

#include <cstdint>
#include <optional>

namespace velloria
{

/// Finds where a sound may be cut into pieces that are stretched by themselves and joined again, because
/// nobody hears the seam: where it is quiet, just before an attack, or where it is noise. It looks at the
/// sound alone, so that the places are the same on every machine.
class CutFinder
{
public:
    CutFinder(const SampleBlock& sound, double sampleRate);

    /// The best place from `from` to `to`; nothing where the sound holds a tone all along.
    std::optional<size_t> find(size_t from, size_t to) const;

private:
    double meanSquare(size_t from, size_t to) const;
    /// How much what comes after a frame repeats within a short while: 1 for a tone, near 0 for noise.
    double repetition(size_t frame) const;

    const SampleBlock& mSound;
    double mSampleRate;
    size_t mNumFrames;
};

} // namespace velloria
