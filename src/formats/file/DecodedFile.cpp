#include "formats/file/DecodedFile.h"

#include "formats/decoding/VLAudioFileDecompressor.h"

namespace velloria
{

DecodedFile::DecodedFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : AudioFile(sampleRate, sampleSize, numChannels)
{
}

DecodedFile::DecodedFile(std::shared_ptr<FileHandle> handle)
    : AudioFile(std::move(handle))
{
    mRequiresConversion = true;
}

DecodedFile::~DecodedFile() = default;

void DecodedFile::takeDecoder(std::unique_ptr<VLAudioFileDecompressor> decoder)
{
    mDecoder = std::move(decoder);
    mDataFormat = mDecoder->dataFormat();
    takeShapeOf(*mDecoder);
}

void DecodedFile::declarePriming(const VLAudioFileDecompressor& decoder, FileLedger& ledger)
{
    if (decoder.hasAssumedPriming())
        ledger.addWithSound(QStringLiteral("the first %1 frames of the sound, taken for the encoder's delay")
                                .arg(decoder.numberOfPrimingFrames()));
}

std::vector<std::shared_ptr<MutableAudioClip>> DecodedFile::convertedAudioClips(Progress& progress,
                                                                                MaybeError* error)
{
    if (!mDecoder)
        return {};
    // A type may know its bit rate better than the decoder.
    const int64_t bitRate = mBitRate;
    auto clips = decodedClips(*mDecoder, progress, error);
    mDecoder.reset();
    mBitRate = bitRate;
    return clips;
}

} // namespace velloria
