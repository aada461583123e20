#pragma once

#include "document/clips/SampleSource.h"
#include "platform/Error.h"
#include "platform/FileHandle.h"

#include <memory>

namespace velloria
{

/// A sound file as the writing half of a save sees it: where its samples lie and how they are handed over.
/// Implemented by AudioFile.
class SampleFile : public SampleSource
{
public:
    virtual const std::shared_ptr<FileHandle>& fileHandle() const = 0;
    std::vector<const FileHandle*> sourceHandles() const override { return {fileHandle().get()}; }
    int64_t sampleSizeInBytes() const { return (sampleBits() + 7) / 8; }

    virtual MaybeError writeRawData(std::span<const std::byte> data, int64_t offset) = 0;
    /// Writes host-order, signed samples in the file's byte order and sign. May change `data` in place. The
    /// save loop calls it on several threads at once, for different parts of the file.
    virtual MaybeError writeAudioData(std::span<std::byte> data, int64_t offset) = 0;
    /// Interleaved floats at a frame offset, as integers of sampleBits().
    virtual MaybeError writeFloatData(std::span<const float> interleaved, int64_t frameOffset) = 0;

    /// False for a format that takes floats (text): the save loop then calls writeFloatData() block by block,
    /// else writeAudioData() with integers of sampleBits() in any order.
    virtual bool storesIntegers() const = 0;
    /// False for a format whose samples all have their place, so that the save loop may hand them over in any
    /// order and on several threads at once.
    virtual bool needsFramesInOrder() const = 0;
    /// True when the sample bytes in this (written) file are laid out as in `source`, so that runs can be
    /// copied from one to the other without looking at them.
    virtual bool storesSamplesLike(const SampleFile& source) const = 0;
};

} // namespace velloria
