#pragma once

#include "document/clips/StoredSamples.h"
#include "platform/codec/PacketReader.h"
#include "platform/codec/StreamDecoder.h"

#include <QString>
#include <filesystem>
#include <memory>
#include <vector>

namespace velloria
{

/// Decodes a sound file from start to end, whatever its encoding, in buffers of at most 65536 bytes of 32-bit
/// floats. Silence that an encoder put before and after the sound is left out. Once it is open,
/// numberOfFrames() is exact: it was counted, and no more frames than that come out. One thread at a time.
class VLAudioFileDecompressor
{
public:
    /// `uti` ("public.mp3", "public.aac-audio", ...) decides only for a file whose bytes do not say what it
    /// is. Null, with a log line and `error` filled, when the file is not sound that can be decoded.
    static std::unique_ptr<VLAudioFileDecompressor> forReadingFile(const std::filesystem::path& path,
                                                                   const QString& uti, MaybeError* error);
    static std::unique_ptr<VLAudioFileDecompressor> forReadingFile(const std::shared_ptr<FileHandle>& handle,
                                                                   const QString& uti, MaybeError* error);

    double sampleRate() const { return mExactSampleRate.value_or(mReader->streamDescription().sampleRate()); }
    /// For a file whose header tells a fraction of a Hz, which the decoders do not know.
    void setExactSampleRate(double rate);
    /// For a file whose header counts fewer frames than its packets hold.
    void limitFrames(int64_t numFrames) { mNumberOfFrames = std::min(mNumberOfFrames, numFrames); }
    /// Bits per second in the file.
    int64_t bitRate() const { return mReader->bitRate(); }
    uint32_t numberOfChannels() const { return mReader->streamDescription().channelsPerFrame(); }
    /// The stored width of linear PCM and Apple Lossless; 0 for encodings that have none.
    uint32_t bitsPerSample() const { return mBitsPerSample; }
    /// What the encoding holds or decodes to exactly.
    StoredSamples storedSamples() const;
    /// True for linear PCM of floating-point samples.
    bool isFloat() const;
    /// The encoding as a four-character code; "lpcm" for linear PCM of any width.
    FourCharCode dataFormat() const { return mReader->dataFormat(); }
    int64_t numberOfFrames() const { return mNumberOfFrames; }
    /// Frames that decode from the file's packets, and how many of the first of them are no sound.
    int64_t numberOfFramesInPackets() const { return mReader->numFramesInPackets(); }
    int64_t numberOfPrimingFrames() const { return mNumPrimingFrames; }
    /// The file does not tell how many they are; some of them may be sound.
    bool hasAssumedPriming() const { return mNumPrimingFrames > 0 && !mReader->packetTable(); }
    /// The number of the sound's track in its container.
    uint32_t trackID() const { return mReader->trackID(); }
    /// True when the file ends before the sound that it announces does.
    bool isCutShort() const { return mReader->isCutShort(); }
    /// True when some of the sound handed out so far could not be decoded, and silence stands for it, or when
    /// the file holds less of it than its tables tell.
    bool hasMetDamage() const;
    /// Frames handed out so far.
    int64_t convertedFrameCount() const { return mConvertedFrameCount; }

    /// The next frames, one buffer a channel, each resized to the frames given; their memory is reused. Gives
    /// the number of frames, 0 at the end.
    int64_t convertOneBuffer(std::vector<std::vector<float>>& planar);
    /// The same as interleaved frames; empty at the end.
    std::vector<float> convertOneBufferOfAudioData();

private:
    explicit VLAudioFileDecompressor(std::unique_ptr<PacketReader> reader)
        : mReader(std::move(reader))
    {
    }
    void setUpPriming();

    std::unique_ptr<PacketReader> mReader;
    std::unique_ptr<StreamDecoder> mDecoder;
    std::optional<double> mExactSampleRate;
    uint32_t mBitsPerSample = 0;
    int64_t mNumberOfFrames = 0;
    int64_t mNumPrimingFrames = 0;
    int64_t mConvertedFrameCount = 0;
    bool mIsAtEnd = false;
    std::vector<std::vector<float>> mPlanar;
    std::vector<float*> mChannels;
};

} // namespace velloria
