#include "formats/mpeg4/Mpeg4AACFile.h"

#include "formats/mpeg/AacBitRates.h"

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

} // namespace velloria
