#pragma once

#include "app/waveform/WaveformSubject.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace velloria::test
{

/// A sound that is computed when it is asked for, of any length; counts what it is asked.
class FakeSubject : public WaveformSubject
{
public:
    /// The outer level of a frame; columns reach from minus to plus the largest of theirs.
    std::function<double(int32_t track, double frame)> level = [](int32_t, double) { return 0.5; };
    int64_t length = 441000;
    int64_t knownFrames = INT64_MAX; ///< a background scan came so far
    int32_t tracks = 2;
    double rate = 44100;
    SoundSelection selected;
    double cue = 0;
    std::vector<AudioMarkerPtr> allMarkers;
    int64_t numColumnsAsked = 0;
    std::function<void()> selectionChanged = [] {};
    std::function<void()> cueChanged = [] {};

    int32_t numTracks() const override { return tracks; }
    int64_t numFrames() const override { return length; }
    double sampleRate() const override { return rate; }

    FloatBuffer columns(int64_t first, int64_t count, double framesPerColumn, int32_t track) override
    {
        numColumnsAsked += count;
        FloatBuffer pairs;
        for (int64_t i = first; i < first + count; ++i) {
            const double frame = static_cast<double>(i) * framesPerColumn;
            const bool isKnown = frame < static_cast<double>(std::min(length, knownFrames));
            const auto value = static_cast<float>(level(track, frame));
            // A column of one frame is its sample; wider ones reach to both sides.
            pairs.push_back(!isKnown ? 1.0F : framesPerColumn > 1 ? -value : value);
            pairs.push_back(isKnown ? value : -1.0F);
        }
        return pairs;
    }

    FloatBuffer overviewColumns(int64_t count, int32_t track) override
    {
        return columns(0, count, static_cast<double>(length) / static_cast<double>(count), track);
    }

    SoundSelection selection() const override { return selected; }
    void setSelection(const SoundSelection& selection) override
    {
        selected = selection;
        selectionChanged();
    }
    double cueTime() const override { return cue; }
    void setCueTime(double seconds) override
    {
        cue = seconds;
        cueChanged();
    }
    MarkerList markers() const override
    {
        return std::make_shared<const std::vector<AudioMarkerPtr>>(allMarkers);
    }
    double nearestZeroCrossing(double, double to, int32_t) const override { return to; }
};

} // namespace velloria::test
