#pragma once

#include "document/SoundDocument.h"
#include "document/clips/MutableAudioClip.h"
#include "platform/Progress.h"

#include <csignal>
#include <gtest/gtest.h>
#include <random>
#include <sys/resource.h>

/// What the tests of documents, effects and sources share: documents made of plain arrays and back, a
/// controller and a progress face that write down what they are told, and a full disk.
namespace velloria::kit
{

using TrackSamples = std::vector<FloatBuffer>;

inline FloatBuffer noise(size_t numFrames, unsigned seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> amplitude(-0.9F, 0.9F);
    FloatBuffer samples(numFrames);
    for (float& sample : samples)
        sample = amplitude(generator);
    return samples;
}

/// first, first + 1, ...: every frame tells where it came from.
inline FloatBuffer ramp(size_t numFrames, float first)
{
    FloatBuffer samples(numFrames);
    for (size_t i = 0; i < numFrames; ++i)
        samples[i] = first + static_cast<float>(i);
    return samples;
}

inline std::shared_ptr<MutableAudioClip> clipOf(const FloatBuffer& samples)
{
    auto clip = MutableAudioClip::clipWithSampleRate(44100.0);
    if (!samples.empty()) {
        EXPECT_FALSE(clip->appendData(samples));
        clip->finalizeCache();
    }
    return clip;
}

inline AudioTrackPtr trackOf(const FloatBuffer& samples)
{
    return std::make_shared<AudioTrack>(ClipList(AudioClipPtr(clipOf(samples))));
}

inline TrackList trackListOf(const TrackSamples& samples)
{
    std::vector<AudioTrackPtr> tracks;
    for (const FloatBuffer& buffer : samples)
        tracks.push_back(trackOf(buffer));
    return std::make_shared<const std::vector<AudioTrackPtr>>(std::move(tracks));
}

/// A clean document at 44100 Hz without history.
inline std::shared_ptr<SoundDocument> documentOf(const TrackSamples& samples)
{
    auto document = std::make_shared<SoundDocument>();
    document->undoableSetSampleRate(44100.0);
    document->undoableSetAudioTracks(trackListOf(samples));
    document->undoManager().clear();
    return document;
}

inline FloatBuffer samplesOf(const FrameSource& document, int32_t track)
{
    const AudioTrackPtr& read = (*document.audioTracks())[static_cast<size_t>(track)];
    return read->sampleDataAtOffset(0, read->length());
}

inline TrackSamples samplesOf(const FrameSource& document)
{
    TrackSamples samples;
    for (int32_t track = 0; track < document.trackCount(); ++track)
        samples.push_back(samplesOf(document, track));
    return samples;
}

inline AudioMarkerPtr markerAt(int64_t position, const QString& name = QString())
{
    return std::make_shared<AudioMarker>(0, position, name);
}

inline void setMarkers(SoundDocument& document, const std::vector<int64_t>& positions)
{
    std::vector<AudioMarkerPtr> markers;
    for (const int64_t position : positions)
        markers.push_back(markerAt(position));
    document.undoableSetAudioMarkers(std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(markers)));
}

inline std::vector<int64_t> positionsOf(const std::vector<AudioMarkerPtr>& markers)
{
    std::vector<int64_t> positions;
    for (const AudioMarkerPtr& marker : markers)
        positions.push_back(marker->position());
    return positions;
}

inline std::vector<double> pansOf(const FrameSource& document)
{
    std::vector<double> pans;
    for (const AudioTrackPtr& track : *document.audioTracks())
        pans.push_back(track->pan());
    return pans;
}

/// Notes the calls as words.
class ControllerRecorder : public DocumentController
{
public:
    explicit ControllerRecorder(SoundDocument& document)
        : mDocument(document)
    {
        mDocument.addController(this);
    }
    ~ControllerRecorder() override { mDocument.removeController(this); }

    void setNumTracks(int32_t numTracks) override { calls += QStringLiteral("tracks %1").arg(numTracks); }
    void reload() override { calls += QStringLiteral("reload"); }
    void markersDidChange() override { calls += QStringLiteral("markers"); }
    void metadataDidChange() override { calls += QStringLiteral("metadata"); }
    std::optional<SoundSelection> selectionForUndo() const override { return selection; }
    void restoreSelection(const SoundSelection& restored) override
    {
        calls += QStringLiteral("selection");
        selection = restored;
    }

    QStringList takeCalls() { return std::exchange(calls, {}); }

    QStringList calls;
    SoundSelection selection;

private:
    SoundDocument& mDocument;
};

/// Notes the values and can ask to stop once a number of them came.
class ProgressRecorder : public Progress
{
public:
    explicit ProgressRecorder(size_t cancelAfter = SIZE_MAX)
        : mCancelAfter(cancelAfter)
    {
    }

    void setProgressValue(double value) override { values.push_back(value); }
    bool isCancelled() const override { return values.size() >= mCancelAfter; }

    std::vector<double> values;

private:
    size_t mCancelAfter;
};

/// While it lives no file of this process grows beyond a size: a scratch file on a full disk.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t numBytes)
        : mOldHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &mOldLimit);
        const rlimit limit = {numBytes, mOldLimit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &mOldLimit);
        std::signal(SIGXFSZ, mOldHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    using Handler = void (*)(int);
    Handler mOldHandler;
    rlimit mOldLimit{};
};

} // namespace velloria::kit
