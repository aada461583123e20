#pragma once

#include "document/clips/AudioTrack.h"
#include "platform/DispatchQueue.h"

#include <functional>
#include <memory>
#include <optional>

namespace velloria
{

/// What a view needs when one of its columns spans less than an entry of the clips' summaries: a stretch of
/// one track, sample by sample (a summary in raw mode), read in the background so that drawing never waits
/// for a file.
///
/// The last stretch is kept, with a margin on both sides, so that scrolling hardly ever reads; an edit of the
/// track installs another track object, which is read anew. Main thread; destruction waits for a read that is
/// under way.
class SampleCloseUp
{
public:
    /// Called on the main thread when a stretch has arrived: its first frame and number of frames.
    using Handler = std::function<void(int64_t offset, int64_t numFrames)>;

    explicit SampleCloseUp(Handler didRead = {});
    ~SampleCloseUp();
    SampleCloseUp(const SampleCloseUp&) = delete;
    SampleCloseUp& operator=(const SampleCloseUp&) = delete;

    /// True when columns of so many frames are finer than the summaries of clips.
    static bool isCloseUp(double stride) { return stride < WaveformCache::clipZoom; }

    /// (min, max) pairs as AudioTrack::minMaxDataAtOffset() gives them, but of the samples themselves.
    /// Nothing while they are not there: then they are being read.
    std::optional<FloatBuffer> minMaxDataAtOffset(const AudioTrackPtr& track, double offset, double numFrames,
                                                  double stride);

    /// The same, read at once on this thread; any thread.
    static FloatBuffer minMaxDataOfTrack(const AudioTrack& track, double offset, double numFrames,
                                         double stride);

private:
    struct Range {
        int64_t start = 0;
        int64_t end = 0;
        bool contains(const Range& other) const { return start <= other.start && other.end <= end; }
    };
    struct Stretch;
    struct Link;

    static Range rangeOfColumns(const AudioTrack& track, double offset, double numFrames, double stride);
    static Range withMargins(const Range& range, const AudioTrack& track);
    static FloatBuffer columns(const Stretch& stretch, double offset, double numFrames, double stride);

    void request(const AudioTrackPtr& track, const Range& needed);
    void startReading(const AudioTrackPtr& track, const Range& range);
    void didRead(const std::shared_ptr<Stretch>& stretch);

    Handler mDidRead;
    std::shared_ptr<Stretch> mKept;
    std::shared_ptr<Stretch> mBeingRead;
    /// What was asked for last while another stretch was being read.
    AudioTrackPtr mWantedTrack;
    Range mWanted;
    /// How a finished read finds this object, if it is still there.
    std::shared_ptr<Link> mLink;
    DispatchQueue mQueue;
};

} // namespace velloria
