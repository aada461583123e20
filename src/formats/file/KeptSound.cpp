// How a file takes over the packets of another one, all or some.
#include "formats/file/AudioFile.h"
#include "formats/file/SoundCopy.h"

namespace velloria
{

void AudioFile::offerSound(const std::shared_ptr<const AudioFile>& source)
{
    mKeptSound = source && source->fileHandle() && takeSound(*source) ? source : nullptr;
    if (!mKeptSound)
        return;
    mBitRate = source->bitRate();
    mDataFormat = source->dataFormat();
}

void AudioFile::offerPieces(const std::shared_ptr<const AudioFile>& source, SoundPieces pieces, SeamMode mode)
{
    mSeamMode = mode;
    mPiecesSource = nullptr;
    mKeptPieces.clear();
    if (mKeptSound || mode == SeamMode::none || pieces.empty() || !source || !source->fileHandle() ||
        !takePieces(*source, pieces))
        return;
    mPiecesSource = source;
    mKeptPieces = std::move(pieces);
    mBitRate = source->bitRate();
    mDataFormat = source->dataFormat();
}

MaybeError AudioFile::writeKeptSound(Progress& progress)
{
    MaybeError failure;
    if (!writeHeader(&failure))
        return failure ? failure : tooLargeForType();
    failure = copyKeptBytes(keptBytes(), mSoundDataOffset, progress);
    return failure ? failure : writeFooter();
}

MaybeError AudioFile::copyKeptBytes(ByteRange bytes, int64_t offset, Progress& progress)
{
    return copySound(*mKeptSound->fileHandle(), bytes, *mFileHandle, offset, progress);
}

} // namespace velloria
