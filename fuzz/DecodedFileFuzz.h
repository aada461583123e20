#pragma once

#include "document/clips/AudioClip.h"
#include "document/clips/FrameSource.h"
#include "formats/file/AudioFile.h"

#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>

/// What the harnesses of types that are decoded share.
namespace velloria::fuzz
{

/// The line is told, because the compiler makes one call of all that abort.
inline void require(bool condition, int line = __builtin_LINE())
{
    if (condition)
        return;
    std::fprintf(stderr, "requirement of line %d does not hold\n", line);
    std::abort();
}

/// Ends decoding before a small file that stands for hours of silence fills the disk.
class BoundedProgress : public Progress
{
public:
    void setProgressValue(double value) override
    {
        require(value >= 0.0 && value <= 1.0);
        ++mNumCalls;
    }
    bool isCancelled() const override { return mNumCalls > mostCalls; }

private:
    static constexpr int mostCalls = 64;
    int mNumCalls = 0;
};

/// A reader tells of every byte of its file.
inline void requireWholeLedger(AudioFile& file)
{
    require(file.closeLedger().empty());
}

/// Opens the bytes as a file of type File and decodes it: either there is one error, or one complete clip a
/// channel of the length that the file then tells.
template <typename File> void openAndDecode(const uint8_t* data, size_t size)
{
    const std::shared_ptr<FileHandle> handle =
        FileHandle::adopt(::memfd_create("decoded", MFD_CLOEXEC), "in.file");
    require(!handle->writeAt(0, std::as_bytes(std::span(data, size))));
    MaybeError error;
    const std::shared_ptr<AudioFile> file = File::open(handle, &error);
    require(!file || !error);
    if (!file)
        return;
    requireWholeLedger(*file);
    require(file->numberOfChannels() > 0 && file->sampleRate() > 0.0);
    BoundedProgress progress;
    const auto clips = file->convertedAudioClips(progress, &error);
    require(clips.empty() == error.has_value());
    require(clips.empty() || clips.size() == file->numberOfChannels());
    for (const auto& clip : clips)
        require(clip->numFrames() == file->numberOfFrames());
}

/// As much silence as a test needs.
class SilentDocument : public FrameSource
{
public:
    SilentDocument(const AudioFile& file, int64_t numFrames)
        : mNumFrames(numFrames)
        , mSampleRate(file.sampleRate())
    {
        const ClipList track(AudioClipPtr(std::make_shared<AudioClip>(numFrames)));
        mTracks = std::make_shared<const std::vector<AudioTrackPtr>>(file.numberOfChannels(),
                                                                     std::make_shared<AudioTrack>(track));
    }
    int64_t numberOfFrames() const override { return mNumFrames; }
    double sampleRate() const override { return mSampleRate; }
    TrackList audioTracks() const override { return mTracks; }

private:
    int64_t mNumFrames;
    double mSampleRate;
    TrackList mTracks;
};

/// Everything but the title, which the caller changed.
inline MetadataDictionary otherTags(const AudioFile& file)
{
    MetadataDictionary tags = file.metadata().dictionary();
    tags.remove(QStringLiteral("title"));
    return tags;
}

/// Opens the bytes, saves them with another title, with their packets or with other sound, and reads that
/// again: every other tag, picture and chapter is the same.
template <typename File> void editTags(const uint8_t* data, size_t size, bool isKept)
{
    const auto handle = FileHandle::adopt(::memfd_create("decoded", MFD_CLOEXEC), "in.file");
    require(!handle->writeAt(0, std::as_bytes(std::span(data, size))));
    MaybeError error;
    const std::shared_ptr<AudioFile> file = File::open(handle, &error);
    constexpr uint32_t mostChannels = 8;
    if (!file || file->numberOfChannels() > mostChannels)
        return;
    File writer(file->sampleRate(), file->bitsPerSample(), file->numberOfChannels());
    AudioMetadata metadata = file->metadata();
    metadata.setTitle(QStringLiteral("Fuzz"));
    writer.setOpenedFile(file);
    writer.setMetadata(metadata);
    writer.setMarkers(file->markers());
    writer.setDataFormat(file->dataFormat());
    writer.validateAndCorrectParameters();
    writer.offerSound(isKept ? file : nullptr);
    if (isKept && !writer.keptSound())
        return;
    const auto written = FileHandle::adopt(::memfd_create("written", MFD_CLOEXEC), "out.file");
    writer.setFileHandle(written);
    SilentProgress progress;
    constexpr int64_t numFrames = 5000;
    if (!writer.saveDocument(SilentDocument(*file, numFrames), nullptr, progress, &error))
        return;
    const std::shared_ptr<AudioFile> reread = File::open(written, &error);
    require(reread && reread->metadata().title() == QStringLiteral("Fuzz"));
    require(otherTags(*reread) == otherTags(*file));
    require((reread->markers() ? reread->markers()->size() : 0) ==
            (file->markers() ? file->markers()->size() : 0));
}

} // namespace velloria::fuzz
