#include "formats/mpeg4/Mpeg4AACFile.h"

#include "formats/mpeg/AacBitRates.h"
#include "formats/mpeg4/AacCrop.h"

namespace velloria
{

Mpeg4AACFile::Mpeg4AACFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : Mpeg4File(sampleRate, sampleSize, numChannels, DataFormat::kAac)
{
}

Mpeg4AACFile::Mpeg4AACFile(std::shared_ptr<FileHandle> handle)
    : Mpeg4File(std::move(handle), DataFormat::kAac)
{
}

QString Mpeg4AACFile::fileFormatUTI() const
{
    return QStringLiteral("public.mpeg-4-audio.aac");
}

FileOptions Mpeg4AACFile::fileOptions() const
{
    return AacBitRates::options(mBitRate, mSampleRate, mNumberOfChannels);
}

void Mpeg4AACFile::validateAndCorrectParameters()
{
    Mpeg4File::validateAndCorrectParameters();
    mBitRate = AacBitRates::closest(mBitRate, mSampleRate, mNumberOfChannels);
}

bool Mpeg4AACFile::isConfiguredLike(const Mpeg4File& opened) const
{
    return AacBitRates::closest(opened.bitRate(), opened.sampleRate(), opened.numberOfChannels()) == mBitRate;
}

bool Mpeg4AACFile::takePieces(const AudioFile& source, const SoundPieces& pieces)
{
    const auto* const opened = dynamic_cast<const Mpeg4AACFile*>(&source);
    // Sound of the old length goes into a copy of the file, whose times are made for what is encoded.
    if (!opened || pieces.size() != 1 || pieces.front().frame != 0 ||
        pieces.front().numFrames != mNumberOfFrames || mNumberOfFrames == opened->numberOfFrames() ||
        opened->sampleRate() != mSampleRate || opened->numberOfChannels() != mNumberOfChannels ||
        !isConfiguredLike(*opened))
        return false;
    return AacCrop::plan(opened->fileHandle(), opened->openedSound().primingFrames,
                         opened->openedSound().framesInPackets, pieces.front(), fileDataFormat()) != nullptr;
}

std::unique_ptr<Mpeg4Seams> Mpeg4AACFile::planSeams(int64_t numFrames) const
{
    const auto* const opened = dynamic_cast<const Mpeg4AACFile*>(piecesSource().get());
    if (!opened)
        return nullptr;
    SoundPiece piece = keptPieces().front();
    piece.numFrames = numFrames;
    return AacCrop::plan(opened->fileHandle(), opened->openedSound().primingFrames,
                         opened->openedSound().framesInPackets, piece, fileDataFormat());
}

} // namespace velloria
