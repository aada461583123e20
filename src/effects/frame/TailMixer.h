#pragma once

#include "Classes/CoreAudio/DocumentSource.h"

namespace velloria
{

/// Adds what follows a selection in the document to what an effect gives after the selection's end, so that
/// an echo rings on over it. One thread.
class TailMixer
{
public:
    /// `numFramesInPlace` frames of the effect's output come before what rings on.
    TailMixer(const DocumentSource& source, int64_t numFramesInPlace);

    /// The next block of the output.
    void process(SampleBlock& block);

private:
    DocumentSource mFollowing;
    SampleBlock mData;
    int64_t mNumFramesToPass;
};

} // namespace velloria
