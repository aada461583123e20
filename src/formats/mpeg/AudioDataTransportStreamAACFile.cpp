#include "formats/mpeg/AudioDataTransportStreamAACFile.h"

#include "formats/decoding/VLAudioFileDecompressor.h"
#include "formats/file/SurroundLosses.h"
#include "formats/mpeg/AacBitRates.h"
#include "formats/mpeg/PacketStreamLedger.h"
#include "formats/saving/PacketSaver.h"
#include "platform/MissedReads.h"
#include "platform/codec/AudioFormats.h"
#include "platform/codec/ContainerWriter.h"
#include "platform/codec/ElementaryStreams.h"

namespace velloria
{

namespace
{

// What readers leave out at the start.
constexpr int64_t assumedPrimingFrames = 2112;

} // namespace

AudioDataTransportStreamAACFile::AudioDataTransportStreamAACFile(double sampleRate, uint32_t sampleSize,
                                                                 uint32_t numChannels)
    : DecodedFile(sampleRate, sampleSize, numChannels)
{
    mDataFormat = DataFormat::kAac;
}

AudioDataTransportStreamAACFile::AudioDataTransportStreamAACFile(std::shared_ptr<FileHandle> handle)
    : DecodedFile(std::move(handle))
{
}

bool AudioDataTransportStreamAACFile::validateFileHeader(const FileHandle& handle)
{
    return ElementaryStreams::isAdts(handle);
}

std::shared_ptr<AudioFile> AudioDataTransportStreamAACFile::open(std::shared_ptr<FileHandle> handle,
                                                                 MaybeError* error)
{
    if (!validateFileHeader(*handle))
        return nullptr;
    const std::shared_ptr<AudioDataTransportStreamAACFile> file(
        new AudioDataTransportStreamAACFile(std::move(handle)));
    auto decoder = VLAudioFileDecompressor::forReadingFile(file->fileHandle(), file->fileFormatUTI(), error);
    if (!decoder)
        return nullptr;
    file->mLedger = packetStreamLedger(*file->fileHandle(), false);
    declarePriming(*decoder, file->mLedger);
    file->takeDecoder(std::move(decoder));
    file->mTags = PacketStreamTags::ofFile(*file->fileHandle(), PacketStreamTags::FirstTag::carried);
    return file;
}

QString AudioDataTransportStreamAACFile::fileFormatUTI() const
{
    return QStringLiteral("public.aac-audio");
}

QString AudioDataTransportStreamAACFile::encodingDescription() const
{
    const auto info = audioFormatInfo(mDataFormat);
    return info ? info->name : QStringLiteral("AAC");
}

FileOptions AudioDataTransportStreamAACFile::fileOptions() const
{
    return AacBitRates::options(mBitRate, mSampleRate, mNumberOfChannels);
}

void AudioDataTransportStreamAACFile::validateAndCorrectParameters()
{
    DecodedFile::validateAndCorrectParameters();
    mBitRate = AacBitRates::closest(mBitRate, mSampleRate, mNumberOfChannels);
    mDataFormat = DataFormat::kAac;
}

/// Nothing in the file tells where within the last packets the sound ends.
QStringList AudioDataTransportStreamAACFile::soundLosses() const
{
    if (keptSound())
        return {};
    return surroundLosses(mNumberOfChannels, true) +
           QStringList(QStringLiteral("%1 files do not tell the exact length of the sound; up to 2048 frames "
                                      "of silence follow it.")
                           .arg(displayTypeName()));
}

bool AudioDataTransportStreamAACFile::willWrite(const FileItem& item) const
{
    return item.keeping == Keeping::withTag
               ? dynamic_cast<const AudioDataTransportStreamAACFile*>(openedFile().get()) != nullptr
               : DecodedFile::willWrite(item);
}

void AudioDataTransportStreamAACFile::takeOverLedger()
{
    mTags = tagsToWrite();
    DecodedFile::takeOverLedger();
}

PacketStreamTags AudioDataTransportStreamAACFile::tagsToWrite() const
{
    const auto* const opened = dynamic_cast<const AudioDataTransportStreamAACFile*>(openedFile().get());
    return opened ? opened->mTags : PacketStreamTags();
}

MaybeError AudioDataTransportStreamAACFile::writeRange(const FrameSource& document, const SaveRange& range,
                                                       Progress& progress)
{
    StreamDescription format(mSampleRate, mNumberOfChannels);
    format.setFormat(DataFormat::kAac);
    format.useAudioFormatToValidateDescription();
    const PacketStreamTags tags = tagsToWrite();
    const QByteArray front = tags.front();
    if (MaybeError error = writeRawData(front, 0))
        return error;
    ContainerWriter container(fileHandle(), ContainerType::kAdts, {0, 0, front.size()});
    PacketSaver saver(document, range, {format, mBitRate, assumedPrimingFrames});
    if (MaybeError error = saver.run(container, progress))
        return error;
    return writeRawData(tags.behind(), lengthOfFile());
}

bool AudioDataTransportStreamAACFile::takeSound(const AudioFile& source)
{
    const auto* const opened = dynamic_cast<const AudioDataTransportStreamAACFile*>(&source);
    return opened && packetStreamBytes(*opened->fileHandle()) &&
           AacBitRates::closest(opened->bitRate(), opened->sampleRate(), opened->numberOfChannels()) ==
               mBitRate;
}

MaybeError AudioDataTransportStreamAACFile::writeKeptSound(Progress& progress)
{
    const std::optional<ByteRange> packets = packetStreamBytes(*keptSound()->fileHandle());
    if (!packets)
        return missedReadsError(*keptSound()->fileHandle());
    const PacketStreamTags tags = tagsToWrite();
    const QByteArray front = tags.front();
    if (MaybeError error = writeRawData(front, 0))
        return error;
    if (MaybeError error = copyKeptBytes(*packets, front.size(), progress))
        return error;
    return writeRawData(tags.behind(), lengthOfFile());
}

} // namespace velloria
