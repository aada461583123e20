#pragma once

#include "formats/file/AudioFile.h"

namespace velloria
{

/// A file of packets (MP3, ADTS, MPEG-4) that is opened together with its decoder: that counts the frames
/// before any is decoded. The sound is decoded as a whole, once.
class DecodedFile : public AudioFile
{
public:
    ~DecodedFile() override;

    std::vector<std::shared_ptr<MutableAudioClip>> convertedAudioClips(Progress& progress,
                                                                       MaybeError* error) override;

protected:
    /// For writing.
    DecodedFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);
    /// For reading.
    explicit DecodedFile(std::shared_ptr<FileHandle> handle);

    /// Keeps the decoder until the sound is decoded, and takes over what it tells of it.
    void takeDecoder(std::unique_ptr<VLAudioFileDecompressor> decoder);
    /// Declares the frames at the start that are left out as the encoder's delay though the file does not
    /// tell it: with another encoder some of them are sound.
    static void declarePriming(const VLAudioFileDecompressor& decoder, FileLedger& ledger);

private:
    std::unique_ptr<VLAudioFileDecompressor> mDecoder;
};

} // namespace velloria
