#pragma once

#include "document/clips/FrameSource.h"
#include "document/clips/SoundSelection.h"
#include "formats/saving/SaveBlockBuilder.h"
#include "platform/Error.h"
#include "platform/Progress.h"

#include <memory>
#include <mutex>
#include <span>
#include <vector>

namespace velloria
{

class SampleFile;

/// Which frames of which tracks of a document are saved.
struct SaveRange {
    int64_t startFrame = 0;
    int64_t numFrames = 0;
    int32_t firstTrack = 0;
    int32_t numTracks = 0;

    static SaveRange ofDocument(const FrameSource& document, uint32_t numChannels);
    /// Times rounded to the nearest frame; what lies outside the document is cut off.
    static SaveRange ofSelection(const FrameSource& document, const SoundSelection& selection);
};

/// Writes a range of a document's samples into a file whose header is written, in passes of 32768 frames. The
/// passes of a batch run on all cores, since each has its place in the file and a dither of its own that
/// depends on its number only: the same save gives the same bytes whatever the number of cores. Where the
/// tracks of a pass are just the channels of one file of the same layout, its bytes are copied inside the
/// kernel. Used once, on one thread; progress is told on that thread.
class SaveLoop
{
public:
    SaveLoop(SampleFile& file, const FrameSource& document, const SaveRange& range);

    /// Ends early with the first error, or the user-cancelled one.
    MaybeError run(Progress& progress);

private:
    /// Frames of the saved range, counted from its start.
    struct Pass {
        int64_t firstFrame = 0;
        int64_t numFrames = 0;
    };

    Pass passAt(int64_t index) const;
    void startSync(int64_t numFramesWritten);
    MaybeError writePass(const Pass& pass, SaveBlockBuilder& builder);
    MaybeError copyPass(const Pass& pass, const SampleFile& source, int64_t sourceFrame);
    MaybeError writeIntegers(const Pass& pass, SaveBlockBuilder& builder);
    MaybeError writeFloats(const Pass& pass, SaveBlockBuilder& builder);
    MaybeError writeSilence(int64_t firstFrame, int64_t numFrames);
    std::unique_ptr<SaveBlockBuilder> takeBuilder();
    void giveBack(std::unique_ptr<SaveBlockBuilder> builder);

    SampleFile& mFile;
    const SaveRange mRange;
    const TrackList mTracks;
    int64_t mNumFramesSyncing = 0;
    std::mutex mBuilderMutex;
    std::vector<std::unique_ptr<SaveBlockBuilder>> mIdleBuilders;
};

} // namespace velloria
