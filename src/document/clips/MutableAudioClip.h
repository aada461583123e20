#pragma once

#include "document/clips/AudioClip.h"
#include "document/clips/ScratchLabel.h"
#include "document/clips/TempFile.h"

namespace velloria
{

/// The clip that writes a scratch file: an effect, a decoder or a recorder appends float blocks to it and
/// then hands it to the document. One producer appends; after finalizeCache() nobody does. Clips cut from it
/// share its file.
class MutableAudioClip : public AudioClip
{
public:
    MutableAudioClip();
    explicit MutableAudioClip(double sampleRate);
    /// The run of `whole` from `offset` on, of the same file: its length is fixed, whether or not the whole
    /// grows.
    MutableAudioClip(const MutableAudioClip& whole, int64_t offset, int64_t numFrames);

    static std::shared_ptr<MutableAudioClip> clipWithSampleRate(double sampleRate);

    double sampleRate() const { return scratch()._sampleRate; }
    /// Byte offset of the first sample in the file; 0 before the first append.
    int64_t headerLength() const;
    /// Null before the first append.
    const std::shared_ptr<TempFile>& tempFile() const;
    StoredSamples storedSamples() const override { return scratch().stored; }
    /// For a decoder, before the first append. Integers were divided by 2^(bits - 1).
    void setStoredSamples(const StoredSamples& stored) { scratch().stored = stored; }
    /// Before the first append: what is noted beside the file. Null for nothing.
    void setLabel(std::shared_ptr<const ScratchLabel> label, int32_t track);
    bool isGrowing() const override;
    void addSourcesTo(SourceWatch& watch) const override;
    /// Whether samples of this clip are louder than full scale. Where the whole holds such, a part of it is
    /// read.
    bool exceedsFullScale() const;

    /// Adds samples to the file and the summary. The first call creates the file. When the file cannot be
    /// created or written, the clip keeps what it has and the error is answered, now and on every later call.
    MaybeError appendData(std::span<const float> samples);

    /// Closes the last, partial entry of the summary; called once, after the last append.
    void finalizeCache();

    int64_t readSamples(int64_t offset, std::span<float> out) const override;
    /// Shorter than asked for where the file ends.
    FloatBuffer sampleDataAtOffset(int64_t offset, int64_t numFrames) const override;
    AudioClipPtr subdataWithOffset(int64_t offset, int64_t numFrames) const override;

    /// This clip as it will be when numFrames frames are there: for showing sound that is still being
    /// written. What is not there yet reads as silence and has no summary.
    AudioClipPtr clipWithPromisedLength(int64_t numFrames) const;

private:
    /// The scratch file and what its producer knows of it.
    struct Scratch : Origin {
        Scratch(const MutableAudioClip* clip, double sampleRate)
            : producer(clip)
            , _sampleRate(sampleRate)
        {
        }
        // The clip that appends, as opposed to those cut from it; only compared with, never looked into.
        const MutableAudioClip* const producer;
        const double _sampleRate;
        // Both are set once, before hasFile, so that readers need no lock.
        std::shared_ptr<TempFile> _tempFile;
        int64_t _headerLength = 0;
        StoredSamples stored;
        // Until the file is made.
        std::shared_ptr<const ScratchLabel> label;
        int32_t track = 0;
        MaybeError error;
        /// Some of what was appended is louder than full scale, which the summary cannot show.
        std::atomic<bool> isLoud{false};
        std::atomic<bool> hasFile{false};
        std::atomic<bool> isFinished{false};
    };

    Scratch& scratch() const { return static_cast<Scratch&>(*mOrigin); }
    MaybeError createFile();
};

} // namespace velloria
