#include "formats/file/RateLoss.h"
#include "formats/wave/WaveFile.h"
#include "formats/wave/WaveMarkers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velloria
{

namespace
{

constexpr uint32_t largestFrame = 65535;

} // namespace

uint32_t WaveFile::maximumNumberOfChannels() const
{
    return largestFrame / static_cast<uint32_t>(std::max<int64_t>(1, sampleSizeInBytes()));
}

WaveFormat WaveFile::formatToWrite() const
{
    WaveFormat format;
    format.numChannels = static_cast<uint16_t>(mNumberOfChannels);
    format.sampleRate = static_cast<uint32_t>(std::clamp(std::round(mSampleRate), 0.0, 4294967295.0));
    format.blockAlign = static_cast<uint16_t>(frameSize());
    format.bitsPerSample = static_cast<uint16_t>(mBitsPerSample);
    return keepsFormat() ? format.withExtensionOf(openedWave()->mFormat) : format;
}

const WaveFile* WaveFile::openedWave() const
{
    return dynamic_cast<const WaveFile*>(openedFile().get());
}

/// What the opened file's format says beside the shape of the samples stays where that shape does.
bool WaveFile::keepsFormat() const
{
    const WaveFile* const opened = openedWave();
    return opened && opened->isLittleEndian() && opened->mFormat.tellsMoreThanPCM() &&
           opened->mFormat.numChannels == mNumberOfChannels &&
           opened->mFormat.containerBits() == mBitsPerSample;
}

/// In bytes.
int64_t WaveFile::soundLength() const
{
    return mKeptEncoding ? mKeptEncoding->sound.length : frameSize() * mNumberOfFrames;
}

/// Of the first sample: behind the container's header, with its long sizes, the chunks in front of the sound
/// and the header of that.
int64_t WaveFile::soundOffset(bool isLong) const
{
    const int64_t sizes = isLong ? RiffChunk::headerLength + WaveContainer::longSizesLength : 0;
    return WaveContainer::headerLength + sizes + lengthOf(chunkPlan().inFront) + RiffChunk::headerLength;
}

bool WaveFile::writeHeader(MaybeError* error)
{
    mOffsetEncoding = mBitsPerSample < 9;
    mCueEdit.reset();
    // The product of absurd numbers need not fit 64 bits, and a file system holds no file of that size.
    constexpr int64_t largestFile = std::numeric_limits<int64_t>::max() / 2;
    if (!mKeptEncoding && mNumberOfFrames > largestFile / std::max<int64_t>(1, frameSize())) {
        if (error)
            *error = Error{Error::Code::fileTooLarge, QStringLiteral("The sound is too long for any file.")};
        return false;
    }
    const WaveFile* const opened = openedWave();
    const bool isLong = isTooLongForRiff() || (opened && opened->mContainer.hasLongSizes);
    mContainer.hasLongSizes = isLong;
    mContainer.isBW64 = opened && opened->mContainer.isBW64;
    mFormat = formatToWrite();
    mSoundDataOffset = soundOffset(isLong);
    int64_t offset =
        WaveContainer::headerLength + (isLong ? RiffChunk::headerLength + WaveContainer::longSizesLength : 0);
    MaybeError failure = writeContainerChunk(lengthToWrite(isLong));
    if (!failure)
        failure = writeChunks(chunkPlan().inFront, &offset);
    if (!failure)
        failure = writeRawData(
            riffChunkHeader(fourCharCode("data"), isLong ? largestFileOf32Bits : soundLength()), offset);
    if (failure && error)
        *error = failure;
    return !failure;
}

int64_t WaveFile::lengthToWrite(bool isLong) const
{
    const int64_t length = soundOffset(isLong) + soundLength();
    return length + length % 2 + lengthOf(chunkPlan().behind);
}

/// Sizes of the RIFF and data chunks are 32-bit numbers, so these bound the whole file.
bool WaveFile::isTooLongForRiff() const
{
    const bool isBeyondCounting =
        !mKeptEncoding && mNumberOfFrames > mLargestRiffFile / std::max<int64_t>(1, frameSize());
    return isBeyondCounting || lengthToWrite(false) > mLargestRiffFile;
}

QStringList WaveFile::soundLosses() const
{
    QStringList losses = ChunkedFile::soundLosses() + lossOfRateFraction(mSampleRate);
    const WaveFile* const opened = openedWave();
    if (opened && !opened->isLittleEndian())
        losses += QStringLiteral("The file is written as RIFF, with little-endian numbers, not as RIFX.");
    if (isTooLongForRiff() && !(opened && opened->mContainer.hasLongSizes))
        losses +=
            QStringLiteral("The sound takes more than 4 GB, so that the file is written as RF64, which not "
                           "every program opens.");
    const auto isBeyond = [](const AudioMarkerPtr& marker) {
        return marker->position() > WaveMarkers::highestPosition;
    };
    if (mMarkers && std::any_of(mMarkers->begin(), mMarkers->end(), isBeyond))
        losses +=
            QStringLiteral("Markers beyond frame %1 are moved to it.").arg(WaveMarkers::highestPosition);
    if (cueEdit().forgetsNames && !writesOwnMarkers())
        losses += QStringLiteral("Ends of regions, and loops, have no names of their own in cue points.");
    return losses;
}

MaybeError WaveFile::writeFooter()
{
    const int64_t end = lengthOfFile();
    // A pad byte follows sound of odd length, as the format asks for: without it other programs find nothing
    // of what stands behind.
    int64_t offset = end + end % 2;
    if (auto error = writeRawData(QByteArray(offset - end, '\0'), end))
        return error;
    if (auto error = writeChunks(chunkPlan().behind, &offset))
        return error;
    return writeContainerChunk(offset);
}

MaybeError WaveFile::writeContainerChunk(int64_t fileLength)
{
    if (!mContainer.hasLongSizes)
        return writeRawData(WaveContainer::header(fileLength), 0);
    return writeRawData(mContainer.longHeader(fileLength, soundLength(), mNumberOfFrames), 0);
}

/// Plain PCM is read in place, and its bytes are carried over by the clips.
bool WaveFile::takeSound(const AudioFile& source)
{
    const auto* const opened = dynamic_cast<const WaveFile*>(&source);
    if (!opened || (!opened->requiresConversion() && !opened->mKeptEncoding) || mIsOptionChosen ||
        opened->warnings().size() > opened->mNumMarkerWarnings)
        return false;
    mKeptEncoding = WaveEncoding::ofFile(*opened->fileHandle());
    if (!mKeptEncoding)
        return false;
    mBitsPerSample = opened->bitsPerSample();
    mIsFloat = opened->isFloat();
    return true;
}

ByteRange WaveFile::keptBytes() const
{
    return mKeptEncoding->sound;
}

} // namespace velloria
