#pragma once

#include "Classes/CoreAudio/DocumentSource.h"

namespace velloria
{

/// Adds what follows a selection in the document to what an effect gives after the selection's end, so that
/// an echo rings on over it, and fades the end of that out where it would break off otherwise. One thread.
class TailMixer
{
public:
    /// `numFramesInPlace` frames of the effect's output come before what rings on for `numFramesRinging`, the
    /// last `numFramesOfFade` of which fade out.
    TailMixer(const DocumentSource& source, int64_t numFramesInPlace, int64_t numFramesRinging,
              int64_t numFramesOfFade);

    /// The next block of the output.
    void process(SampleBlock& block);

private:
    void fadeOut(SampleBlock& block, int64_t start);

    DocumentSource mFollowing;
    SampleBlock mData;
    int64_t mNumFramesToPass;
    int64_t mNumFramesToRing;
    int64_t mNumFramesOfFade;
};

} // namespace velloria
