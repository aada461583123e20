#pragma once

#include "display/summary/WaveformCache.h"
#include "document/clips/SampleSource.h"
#include "document/clips/StoredSamples.h"

#include <atomic>
#include <memory>
#include <span>
#include <vector>

namespace velloria
{

using FloatBuffer = std::vector<float>;

class AudioClip;
class SourceWatch;
using AudioClipPtr = std::shared_ptr<const AudioClip>;

/// One piece of a track: a run of frames of one channel of an opened file, a run of silence, or (derived)
/// a run of a scratch file. Immutable once it is in a track: edits make new clips. Any thread may read.
/// Reads never fail: what the source does not have becomes zeros.
class AudioClip
{
public:
    /// An empty clip with a new summary of zoom 512.
    AudioClip();
    /// Silence.
    explicit AudioClip(int64_t numFrames);
    AudioClip(std::shared_ptr<const SampleSource> file, int64_t fileOffset, int64_t numFrames,
              int64_t channel);
    /// The run of `whole` from `offset` on: as long as `numFrames`, or shorter where the whole ends.
    AudioClip(const AudioClip& whole, int64_t offset, int64_t numFrames);
    virtual ~AudioClip();
    AudioClip(const AudioClip&) = delete;
    AudioClip& operator=(const AudioClip&) = delete;

    int64_t numFrames() const { return _numFrames.load(std::memory_order_acquire); }
    int64_t sourceOffset() const { return _sourceOffset; }
    int64_t channelIndex() const { return mOrigin ? mOrigin->_channelIndex : 0; }
    bool isSilence() const { return mOrigin == nullptr; }
    /// True while numFrames() may still rise.
    virtual bool isGrowing() const { return false; }
    /// What the samples are in the opened file, or were in the file that a scratch file was decoded from.
    virtual StoredSamples storedSamples() const;
    /// The opened file; null for silence and for scratch files.
    const std::shared_ptr<const SampleSource>& sourceFile() const;
    /// The summary; a view that shares its entries with the clip that this one was cut from.
    const WaveformCache& waveformCache() const { return _waveformCache; }
    WaveformCache& waveformCache() { return _waveformCache; }

    /// Puts the files that the samples are read from under watch.
    virtual void addSourcesTo(SourceWatch& watch) const;

    /// Fills `out` with the frames from `offset` within the clip on. Gives the number of floats that the
    /// source delivered; all of `out` is written, the rest with zeros.
    virtual int64_t readSamples(int64_t offset, std::span<float> out) const;

    virtual FloatBuffer sampleDataAtOffset(int64_t offset, int64_t numFrames) const;

    /// Minimum and maximum over a range from the summary; false while the summary does not reach there.
    bool getMin(double& min, double& max, int64_t offset, int64_t numFrames) const;

    /// A new clip for min(this->numFrames() - offset, numFrames) frames from `offset` on.
    virtual AudioClipPtr subdataWithOffset(int64_t offset, int64_t numFrames) const;

protected:
    /// What a clip and all that is cut from it have in common. A long undo history holds a great many clips,
    /// so they refer to it instead of repeating it.
    struct Origin {
        std::shared_ptr<const SampleSource> _sourceFile;
        int64_t _channelIndex = 0;
    };

    explicit AudioClip(std::shared_ptr<Origin> origin);

    std::atomic<int64_t> _numFrames{0};
    int64_t _sourceOffset = 0;
    // Null for silence.
    std::shared_ptr<Origin> mOrigin;
    WaveformCache _waveformCache;
};

} // namespace velloria
