#pragma once

#include "formats/file/AudioFile.h"

#include <cstdlib>
#include <sys/mman.h>

/// What the harnesses of types that are decoded share.
namespace velloria::fuzz
{

inline void require(bool condition)
{
    if (!condition)
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

} // namespace velloria::fuzz
