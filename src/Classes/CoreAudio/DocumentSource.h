#pragma once

#include "Classes/CoreAudio/DataSource.h"
#include "Classes/CoreAudio/MixerComponent.h"
#include "document/clips/FrameSource.h"
#include "document/clips/SoundSelection.h"

#include <atomic>
#include <memory>
#include <optional>

namespace velloria
{

/// Reads a document's tracks between a start and an end, optionally looping. Read on one thread; the main
/// thread may meanwhile set the mark, the loop and looping (plain stores; a read may see the old or the new
/// value).
class DocumentSource : public DataSource
{
public:
    /// The whole document.
    explicit DocumentSource(std::shared_ptr<const FrameSource> document);
    /// A selection of it; firstTrack -1 means all tracks.
    DocumentSource(std::shared_ptr<const FrameSource> document, const SoundSelection& selection);

    const std::shared_ptr<const FrameSource>& document() const { return mDocument; }

    /// Frame of the next read.
    int64_t mark() const { return mMark.load(std::memory_order_relaxed); }
    void setMark(int64_t frame) { mMark.store(frame, std::memory_order_relaxed); }
    /// Frame that reading never passes.
    int64_t limit() const { return mLimit.load(std::memory_order_relaxed); }
    void setLimit(int64_t frame) { mLimit.store(frame, std::memory_order_relaxed); }
    int64_t loopStart() const { return mLoopStart.load(std::memory_order_relaxed); }
    void setLoopStart(int64_t frame) { mLoopStart.store(frame, std::memory_order_relaxed); }
    int64_t loopEnd() const { return mLoopEnd.load(std::memory_order_relaxed); }
    void setLoopEnd(int64_t frame) { mLoopEnd.store(frame, std::memory_order_relaxed); }
    bool isLooping() const { return mLooping.load(std::memory_order_relaxed); }
    void setLooping(bool looping) { mLooping.store(looping, std::memory_order_relaxed); }
    /// Seconds.
    double duration() const { return mDuration; }
    void setDuration(double seconds) { mDuration = seconds; }
    int32_t firstTrack() const { return mFirstTrack; }
    void setFirstTrack(int32_t track) { mFirstTrack = track; }
    int32_t numTracks() const { return mNumTracks; }
    void setNumTracks(int32_t count) { mNumTracks = count; }

    int64_t selectionNumFrames() const;
    /// Pan and volume of a track, counted from firstTrack; nothing for one that is not read.
    std::optional<MixerComponent> mixerComponentOfTrackNumber(int32_t number) const;

    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

private:
    std::shared_ptr<const FrameSource> mDocument;
    std::atomic<int64_t> mMark{0};
    std::atomic<int64_t> mLimit{0};
    std::atomic<int64_t> mLoopStart{0};
    std::atomic<int64_t> mLoopEnd{0};
    double mDuration = 0;
    int32_t mFirstTrack = 0;
    int32_t mNumTracks = 0;
    std::atomic<bool> mLooping{false};
};

} // namespace velloria
