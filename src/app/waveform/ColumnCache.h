#pragma once

#include "app/waveform/WaveformSubject.h"

#include <span>

namespace velloria
{

/// Keeps the (min, max) columns that a view shows, so that scrolling asks only for the new ones and
/// repainting for none. Main thread.
class ColumnCache
{
public:
    explicit ColumnCache(WaveformSubject& subject)
        : mSubject(subject)
    {
    }

    /// The columns [first, first + count) of a track, two floats each. Valid until the next call.
    std::span<const float> columns(int32_t track, int64_t first, int64_t count, double framesPerColumn);

    void invalidateAll() { mTracks.clear(); }
    void invalidateFrames(int64_t offset, int64_t length);

    /// Columns that the subject was asked for so far; a measure of work.
    int64_t numColumnsAsked() const { return mNumAsked; }

private:
    struct TrackColumns {
        int64_t first = 0;
        FloatBuffer pairs;
        std::vector<char> isKnown;
        int64_t end() const { return first + static_cast<int64_t>(isKnown.size()); }
    };

    static void moveTo(TrackColumns& columns, int64_t first, int64_t count);
    void fillUnknown(TrackColumns& columns, int32_t track);
    void ask(TrackColumns& columns, int32_t track, int64_t first, int64_t end);

    WaveformSubject& mSubject;
    double mFramesPerColumn = 0;
    std::vector<TrackColumns> mTracks;
    int64_t mNumAsked = 0;
};

} // namespace velloria
