#include "formats/mpeg4/Mpeg4File.h"

#include "formats/decoding/FileDamage.h"
#include "formats/decoding/VLAudioFileDecompressor.h"
#include "formats/mpeg4/Mpeg4AACFile.h"
#include "formats/mpeg4/Mpeg4AppleLosslessFile.h"
#include "formats/mpeg4/Mpeg4Chapters.h"
#include "formats/mpeg4/Mpeg4Movie.h"
#include "formats/mpeg4/Mpeg4Tags.h"
#include "formats/saving/PacketSaver.h"
#include "platform/codec/AudioFormats.h"
#include "platform/codec/ContainerWriter.h"
#include "platform/codec/Mpeg4Timing.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

// What the first box of such a file can be.
constexpr std::array firstBoxes = {fourCharCode("ftyp"), fourCharCode("moov"), fourCharCode("mdat"),
                                   fourCharCode("wide"), fourCharCode("skip"), fourCharCode("free"),
                                   fourCharCode("pnot")};

bool isAac(FourCharCode format)
{
    return format == DataFormat::kAac || format == DataFormat::kHeAac || format == DataFormat::kHeAacV2;
}

} // namespace

Mpeg4File::Mpeg4File(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : DecodedFile(sampleRate, sampleSize, numChannels)
{
    mCanSaveMarkers = true;
    mCanSaveMetadata = true;
    mCanSaveArtwork = true;
}

Mpeg4File::Mpeg4File(std::shared_ptr<FileHandle> handle)
    : DecodedFile(std::move(handle))
{
    mCanSaveMarkers = true;
    mCanSaveMetadata = true;
    mCanSaveArtwork = true;
}

bool Mpeg4File::validateFileHeader(const FileHandle& handle)
{
    const QByteArray bytes = handle.readAt(0, 8);
    if (bytes.size() < 8)
        return false;
    const Mpeg4Box header(bytes);
    return std::find(firstBoxes.begin(), firstBoxes.end(), header.number32(4)) != firstBoxes.end() &&
           (header.number32(0) >= 8 || header.number32(0) <= 1);
}

std::shared_ptr<AudioFile> Mpeg4File::open(std::shared_ptr<FileHandle> handle, MaybeError* error)
{
    if (!validateFileHeader(*handle))
        return nullptr;
    MaybeError failure;
    auto decoder = VLAudioFileDecompressor::forReadingFile(handle, QString(), &failure);
    if (!decoder) {
        if (error)
            *error = failure;
        return nullptr;
    }
    std::shared_ptr<Mpeg4File> file;
    if (decoder->dataFormat() == DataFormat::kAppleLossless)
        file = std::make_shared<Mpeg4AppleLosslessFile>(std::move(handle));
    else
        file = std::make_shared<Mpeg4AACFile>(std::move(handle));
    file->takeDecoder(std::move(decoder));
    file->readTables();
    return file;
}

/// Tags and chapters.
void Mpeg4File::readTables()
{
    for (const QString& key : Mpeg4Tags::read(*fileHandle(), mMetadata))
        mLedger.addNotKept(ItemKind::tag, key);
    mMarkers = Mpeg4Chapters::read(*fileHandle(), mSampleRate);
    if (!isAac(mDataFormat) && mDataFormat != DataFormat::kAppleLossless)
        mWarnings.append(
            QStringLiteral("“%1” holds sound that is not AAC (%2); saved under its own type it becomes AAC.")
                .arg(displayName(filePath()), encodingDescription()));
}

QString Mpeg4File::encodingDescription() const
{
    if (mDataFormat == DataFormat::kLinearPcm)
        return AudioFile::encodingDescription();
    const auto info = audioFormatInfo(mDataFormat);
    const QString name = info ? info->name : QString::fromLatin1(fourCharText(mDataFormat)).trimmed();
    return mDataFormat == DataFormat::kAppleLossless
               ? QStringLiteral("%1, %2 bit").arg(name).arg(mBitsPerSample)
               : name;
}

StreamDescription Mpeg4File::fileDataFormat() const
{
    StreamDescription format(mSampleRate, mNumberOfChannels);
    format.setFormat(writtenFormat());
    const bool isLossless = writtenFormat() == DataFormat::kAppleLossless;
    format.audioStreamBasicDescription().formatFlags = isLossless ? appleLosslessFlags(mBitsPerSample) : 0;
    format.useAudioFormatToValidateDescription();
    return format;
}

MaybeError Mpeg4File::writeRange(const FrameSource& document, const SaveRange& range, Progress& progress)
{
    if (range.numFrames == 0)
        return FileDamage::noSoundToSave(displayTypeName());
    Mpeg4Extras extras;
    extras.markers = mMarkers;
    extras.sampleRate = static_cast<uint32_t>(std::lround(mSampleRate));
    extras.numFrames = range.numFrames;
    const QByteArray gapless = isAac(writtenFormat()) ? gaplessTag({range.numFrames, 0, 0}) : QByteArray();
    extras.meta = Mpeg4Tags::box(mMetadata, gapless);
    ContainerWriter container(fileHandle(), ContainerType::kMpeg4, {range.numFrames, extras.numBytes()});
    extras.meta.clear();
    PacketSaver saver(document, range, {fileDataFormat(), isAac(writtenFormat()) ? mBitRate : 0});
    MaybeError error = saver.run(container, progress);
    setSourceWasShort(saver.sourceWasShort());
    if (error)
        return error;
    extras.meta = Mpeg4Tags::box(mMetadata, gapless.isEmpty() ? gapless : gaplessTag(saver.packetTable()));
    return putIntoMpeg4File(*fileHandle(), extras);
}

} // namespace velloria
