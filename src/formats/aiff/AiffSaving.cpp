#include "formats/aiff/AiffFile.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr FourCharCode formIdent = fourCharCode("FORM");
constexpr FourCharCode soundIdent = fourCharCode("SSND");
constexpr int64_t formHeaderLength = 12;
// Offset of the first sample and size of a block, 32 bits each.
constexpr int64_t soundHeaderLength = 8;

QByteArray chunkHeader(FourCharCode ident, int64_t size)
{
    return riffChunkHeader(ident, size, ChunkByteOrder::bigEndian);
}

} // namespace

AiffFormat AiffFile::formatToWrite() const
{
    AiffFormat format;
    format.numChannels = static_cast<uint16_t>(mNumberOfChannels);
    format.numFrames = static_cast<uint32_t>(std::clamp<int64_t>(mNumberOfFrames, 0, 0xFFFFFFFF));
    format.bitsPerSample = static_cast<uint16_t>(mBitsPerSample);
    format.sampleRate = mSampleRate;
    return format;
}

int64_t AiffFile::soundDataLength() const
{
    // Compared by division: the product of absurd numbers need not fit 64 bits.
    const bool isTooLarge = mNumberOfFrames > largestFileOf32Bits / std::max<int64_t>(1, frameSize());
    return isTooLarge ? largestFileOf32Bits + 1 : mNumberOfFrames * frameSize();
}

/// The sizes of the whole and of the sound are 32-bit numbers.
int64_t AiffFile::lengthWithFooter(const ChunkPlan& plan) const
{
    return mSoundDataOffset + soundDataLength() + soundDataLength() % 2 + lengthOf(plan.behind);
}

bool AiffFile::writeHeader(MaybeError* error)
{
    const ChunkPlan plan = chunkPlan();
    int64_t offset = formHeaderLength;
    mSoundDataOffset = offset + lengthOf(plan.inFront) + RiffChunk::headerLength + soundHeaderLength;
    const int64_t length = lengthWithFooter(plan);
    if (length > largestFileOf32Bits)
        return false;
    const QByteArray formType = isCompressed() ? QByteArrayLiteral("AIFC") : QByteArrayLiteral("AIFF");
    MaybeError failure = writeRawData(chunkHeader(formIdent, length - RiffChunk::headerLength) + formType, 0);
    if (!failure)
        failure = writeChunks(plan.inFront, &offset);
    if (!failure)
        failure = writeRawData(chunkHeader(soundIdent, soundDataLength() + soundHeaderLength) +
                                   QByteArray(soundHeaderLength, '\0'),
                               offset);
    if (failure && error)
        *error = failure;
    return !failure;
}

MaybeError AiffFile::writeFooter()
{
    // A pad byte follows sound of odd length, as the format asks for: without it other programs find nothing
    // of what stands behind.
    const int64_t end = lengthOfFile();
    int64_t offset = end + (end - mSoundDataOffset) % 2;
    if (auto error = writeRawData(QByteArray(offset - end, '\0'), end))
        return error;
    return writeChunks(chunkPlan().behind, &offset);
}

} // namespace velloria
