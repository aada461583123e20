#pragma once

#include "DecodedFileFuzz.h"

namespace velloria::fuzz
{

/// Opens the bytes as a file of type File. True when its sound is read in place: then it lies within the
/// file, every frame of it can be read, and markers lie at positions that are not negative.
template <typename File> bool openInPlace(const uint8_t* data, size_t size)
{
    const std::shared_ptr<FileHandle> handle =
        FileHandle::adopt(::memfd_create("in-place", MFD_CLOEXEC), "in.file");
    require(!handle->writeAt(0, std::as_bytes(std::span(data, size))));
    MaybeError error;
    const std::shared_ptr<AudioFile> file = File::open(handle, &error);
    require(!file || !error);
    if (file)
        requireWholeLedger(*file);
    if (!file || file->requiresConversion())
        return false;
    require(file->numberOfChannels() > 0 && file->sampleRate() > 0.0);
    const int64_t numBytes = file->numberOfFrames() * file->frameSize();
    require(numBytes >= 0 && numBytes <= static_cast<int64_t>(size));
    std::vector<std::byte> sound(static_cast<size_t>(numBytes));
    require(file->readAudioDataAtOffset(file->soundDataOffset(), sound) == numBytes);
    return true;
}

} // namespace velloria::fuzz
