#pragma once

#include "platform/FourCharCode.h"

#include <cstdint>

namespace velloria
{

/// Codes of StreamDescription::formatID(), and of the data formats that files report.
namespace DataFormat
{
constexpr FourCharCode kLinearPcm = fourCharCode("lpcm");
constexpr FourCharCode kAac = fourCharCode("aac ");
constexpr FourCharCode kHeAac = fourCharCode("aach");
constexpr FourCharCode kHeAacV2 = fourCharCode("aacp");
constexpr FourCharCode kAppleLossless = fourCharCode("alac");
constexpr FourCharCode kIma4 = fourCharCode("ima4");
constexpr FourCharCode kALaw = fourCharCode("alaw");
constexpr FourCharCode kMuLaw = fourCharCode("ulaw");
constexpr FourCharCode kMp3 = fourCharCode("MPG3");
} // namespace DataFormat

/// Flags of linear PCM. Apple Lossless has a number in their place: 1, 2, 3, 4 for sources of 16, 20, 24, 32
/// bits.
namespace FormatFlag
{
constexpr uint32_t kFloat = 1;
constexpr uint32_t kBigEndian = 2;
constexpr uint32_t kSignedInteger = 4;
constexpr uint32_t kPacked = 8;
constexpr uint32_t kNonInterleaved = 0x20;
} // namespace FormatFlag

/// How the samples of a stream are stored, in plain numbers. Sizes that do not apply are 0.
struct AudioStreamBasicDescription {
    double sampleRate = 0.0;
    uint32_t formatID = 0;
    uint32_t formatFlags = 0;
    uint32_t bytesPerPacket = 0;
    uint32_t framesPerPacket = 0;
    uint32_t bytesPerFrame = 0;
    uint32_t channelsPerFrame = 0;
    uint32_t bitsPerChannel = 0;
    uint32_t reserved = 0;
};

/// The format of an audio stream, as the converter and the file layers take it. A plain value.
class StreamDescription
{
public:
    /// All zeros.
    StreamDescription() = default;
    explicit StreamDescription(const AudioStreamBasicDescription& asbd)
        : _asbd(asbd)
    {
    }
    /// Interleaved 32-bit float. The packed flag is left out: readers of the description compare the flags.
    explicit StreamDescription(double sampleRate, uint32_t numChannels = 1);

    static StreamDescription descriptionWithSampleRate(double sampleRate, uint32_t numChannels = 1)
    {
        return StreamDescription(sampleRate, numChannels);
    }
    /// Non-interleaved 32-bit float: packets and frames are those of one channel.
    static StreamDescription nonInterleavedChannels(double sampleRate, uint32_t numChannels);

    AudioStreamBasicDescription& audioStreamBasicDescription() { return _asbd; }
    const AudioStreamBasicDescription& audioStreamBasicDescription() const { return _asbd; }

    double sampleRate() const { return _asbd.sampleRate; }
    uint32_t formatID() const { return _asbd.formatID; }
    uint32_t formatFlags() const { return _asbd.formatFlags; }
    uint32_t channelsPerFrame() const { return _asbd.channelsPerFrame; }
    uint32_t framesPerPacket() const { return _asbd.framesPerPacket; }
    uint32_t bytesPerPacket() const { return _asbd.bytesPerPacket; }
    uint32_t bytesPerFrame() const { return _asbd.bytesPerFrame; }
    uint32_t bitsPerChannel() const { return _asbd.bitsPerChannel; }
    bool isLinearPcm() const { return _asbd.formatID == DataFormat::kLinearPcm; }

    void setSampleRate(double sampleRate) { _asbd.sampleRate = sampleRate; }
    void setFormat(uint32_t formatID) { _asbd.formatID = formatID; }
    /// Also makes the frame bitsPerChannel() x numChannels bytes: bits, not bytes, on purpose; who needs true
    /// sizes calls useAudioFormatToValidateDescription() afterwards.
    void setNumChannels(uint32_t numChannels);

    /// Completes the sizes from format ID, channel count and bits. A format that nobody here knows is logged
    /// as "Error in useAudioFormatToValidateDescription: %ld" and leaves the description as it is.
    void useAudioFormatToValidateDescription();

private:
    AudioStreamBasicDescription _asbd;
};

} // namespace velloria
