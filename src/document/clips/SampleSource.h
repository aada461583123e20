#pragma once

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace velloria
{

class FileHandle;

/// What a clip needs of the opened file that it reads in place: interleaved PCM frames from
/// soundDataOffset() on. All functions may be called on any thread.
class SampleSource
{
public:
    virtual ~SampleSource() = default;

    /// Bytes per frame: sample bytes times channels.
    int64_t frameSize() const { return (sampleBits() + 7) / 8 * channelCount(); }

    virtual int64_t soundDataOffset() const = 0;
    virtual bool isFloat() const = 0;
    virtual int64_t channelCount() const = 0;
    /// Bits per stored sample: 8, 16, 24, 32 (integer or float), 64 (float).
    virtual int64_t sampleBits() const = 0;
    virtual double sampleRate() const = 0;
    virtual int64_t numberOfFrames() const = 0;
    /// The files that are read; none for a source in memory.
    virtual std::vector<const FileHandle*> sourceHandles() const { return {}; }

    /// Reads bytes of interleaved frames at an absolute byte offset, samples in the host's byte order and
    /// 8-bit samples signed. Gives the number of bytes read: fewer at the end of the sound data.
    virtual int64_t readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const = 0;
};

} // namespace velloria
