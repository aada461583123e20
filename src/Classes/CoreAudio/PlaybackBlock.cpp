#include "Classes/CoreAudio/PlaybackBlock.h"

#include "Classes/CoreAudio/DocumentSource.h"

namespace velloria
{

namespace
{

void addToSide(const FloatBuffer& in, float* side)
{
    for (const float sample : in) {
        *side += sample;
        side += 2;
    }
}

} // namespace

bool readPlaybackBlock(DocumentSource& source, uint64_t numFrames, SampleBlock& scratch, PlaybackBlock& block)
{
    block.stereoAudioData.clear();
    // The source may wrap to its loop's start before it reads.
    int64_t timestamp = source.mark();
    if (source.isLooping() && timestamp >= source.loopEnd())
        timestamp = source.loopStart();
    block.timestamp = timestamp;
    if (!source.requestDataWithNumFrames(numFrames, scratch) || scratch.empty())
        return false;
    const size_t count = scratch.front().size();
    block.stereoAudioData.assign(2 * count, 0.0F);
    const bool isMono = scratch.size() == 1 || source.document()->trackCount() == 1;
    for (size_t i = 0; i < scratch.size(); ++i) {
        const size_t side = (i + static_cast<size_t>(source.firstTrack())) % 2;
        if (isMono || side == 0)
            addToSide(scratch[i], block.stereoAudioData.data());
        if (isMono || side == 1)
            addToSide(scratch[i], block.stereoAudioData.data() + 1);
    }
    return true;
}

} // namespace velloria
