#include "formats/file/AudioFile.h"

#include "document/clips/AudioClip.h"
#include "document/clips/AudioData.h"
#include "document/clips/ClipWriter.h"
#include "formats/decoding/DecodingWatcher.h"
#include "formats/decoding/FileDamage.h"
#include "formats/decoding/LinearPcmIntake.h"
#include "formats/decoding/VLAudioFileDecompressor.h"
#include "formats/file/AudioFileTypeNames.h"
#include "formats/saving/SaveLoop.h"
#include "formats/tags/ValueChanges.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

#include <QLocale>
#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

constexpr std::array sampleSizes = {8, 16, 24, 32};
constexpr int64_t defaultBitRate = 128000;
// What the size estimate allows for headers and tags.
constexpr double estimatedHeaderSize = 4096.0;

bool isSampleSizeTag(int tag)
{
    return tag >= 1 && tag <= 64;
}

bool isBitRateTag(int tag)
{
    return tag >= 4000 && tag <= 1024000;
}

std::vector<std::shared_ptr<MutableAudioClip>> clipsWithoutSound(int32_t numChannels, double sampleRate)
{
    ClipWriter writer(numChannels, sampleRate);
    writer.finish();
    return writer.clips();
}

} // namespace

AudioFile::AudioFile() = default;

AudioFile::AudioFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : mSampleRate(sampleRate)
    , mBitsPerSample(sampleSize)
    , mNumberOfChannels(numChannels)
{
}

AudioFile::AudioFile(std::shared_ptr<FileHandle> handle)
    : mFilePath(handle->path())
    , mFileHandle(std::move(handle))
{
}

AudioFile::~AudioFile() = default;

QString AudioFile::encodingDescription() const
{
    const QString kind = mIsFloat ? QStringLiteral("floating point") : QStringLiteral("integer");
    return QStringLiteral("%1-bit %2").arg(mBitsPerSample).arg(kind);
}

QString AudioFile::displayTypeName() const
{
    const AudioFileTypeNames* type = AudioFileTypeNames::withUTI(fileFormatUTI());
    return type ? type->displayName : QString();
}

QStringList AudioFile::validFileExtensionsForSave() const
{
    const AudioFileTypeNames* type = AudioFileTypeNames::withUTI(fileFormatUTI());
    return type ? type->extensionsForSave : QStringList(defaultFileExtension());
}

QString AudioFile::defaultFileExtension() const
{
    const AudioFileTypeNames* type = AudioFileTypeNames::withUTI(fileFormatUTI());
    if (!type || type->defaultExtension.isEmpty())
        logLine(QStringLiteral("AudioFile defaultExtension should not be empty!"));
    return type ? type->defaultExtension : QString();
}

int64_t AudioFile::lengthOfFile() const
{
    return mFileHandle ? mFileHandle->length() : 0;
}

QByteArray AudioFile::readRawDataAtOffset(int64_t offset, int64_t numBytes) const
{
    return mFileHandle ? mFileHandle->readAt(offset, numBytes) : QByteArray();
}

MaybeError AudioFile::writeRawData(std::span<const std::byte> data, int64_t offset)
{
    return mFileHandle->writeAt(offset, data);
}

MaybeError AudioFile::writeRawData(const QByteArray& data, int64_t offset)
{
    return mFileHandle->writeAt(offset, data);
}

int64_t AudioFile::readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const
{
    const int64_t end = mSoundDataOffset + mNumberOfFrames * frameSize();
    if (!mFileHandle || offset < 0 || offset >= end)
        return 0;
    const auto wanted = out.first(std::min(out.size(), static_cast<size_t>(end - offset)));
    const int64_t numRead = mFileHandle->readAt(offset, wanted);
    if (numRead < std::ssize(wanted))
        mFileHandle->noteMissedRead();
    return numRead;
}

MaybeError AudioFile::writeAudioData(std::span<std::byte> data, int64_t offset)
{
    return writeRawData(data, offset);
}

MaybeError AudioFile::writeFloatData(std::span<const float> interleaved, int64_t frameOffset)
{
    // Zeros are what a size that no integer of ours has is written as.
    std::vector<std::byte> samples(interleaved.size() * static_cast<size_t>(sampleSizeInBytes()));
    SampleConversion::floatsToIntegers(interleaved, sampleSizeInBytes(), samples.data());
    return writeAudioData(samples, mSoundDataOffset + frameOffset * frameSize());
}

FileOptions AudioFile::fileOptions() const
{
    FileOptions options{QStringLiteral("Sample Size:"), {}, 16};
    for (const int bits : sampleSizes) {
        options.items.push_back({bits, QStringLiteral("%1 bit").arg(bits)});
        if (static_cast<uint32_t>(bits) == mBitsPerSample)
            options.selectedTag = bits;
    }
    return options;
}

double AudioFile::estimatedFileSizeWithTag(int tag) const
{
    const auto numFrames = static_cast<double>(mNumberOfFrames);
    if (isSampleSizeTag(tag)) {
        const int bytesPerSample = tag / 8;
        return bytesPerSample * numFrames * mNumberOfChannels + estimatedHeaderSize;
    }
    if (isBitRateTag(tag))
        return tag * 0.125 * (numFrames / mSampleRate) + estimatedHeaderSize;
    return -1.0;
}

void AudioFile::configureWithPopUpTag(int tag)
{
    mIsOptionChosen = true;
    if (isSampleSizeTag(tag))
        mBitsPerSample = static_cast<uint32_t>(tag);
    else if (isBitRateTag(tag))
        mBitRate = tag;
}

void AudioFile::validateAndCorrectParameters()
{
    if (mBitsPerSample == 0)
        mBitsPerSample = 16;
    if (mBitRate == 0) {
        const int64_t preferred = UserDefaults::standard().integerValue(QStringLiteral("file.bitrate"));
        mBitRate = (preferred != 0 ? preferred : defaultBitRate) * (mNumberOfChannels == 1 ? 1 : 2) / 2;
    }
}

bool AudioFile::writeHeader(MaybeError*)
{
    return true;
}

MaybeError AudioFile::writeFooter()
{
    return std::nullopt;
}

MaybeError AudioFile::finalizeWriting()
{
    return std::nullopt;
}

bool AudioFile::saveDocument(const FrameSource& document, const SoundSelection* selection, Progress& progress,
                             MaybeError* error)
{
    SaveRange range = SaveRange::ofDocument(document, mNumberOfChannels);
    if (selection) {
        range = SaveRange::ofSelection(document, *selection);
        mNumberOfChannels = static_cast<uint32_t>(range.numTracks);
        mMarkers.reset();
    }
    mNumberOfFrames = range.numFrames;

    MaybeError failure = checkSaveRange(document, range);
    if (!failure)
        failure = mKeptSound ? writeKeptSound(progress) : writeRange(document, range, progress);
    if (failure && error)
        *error = failure;
    return !failure;
}

Error AudioFile::tooLargeForType()
{
    return {Error::Code::fileTooLarge, QStringLiteral("Cannot save files over 4 GB in size in this format.")};
}

MaybeError AudioFile::writeRange(const FrameSource& document, const SaveRange& range, Progress& progress)
{
    MaybeError failure;
    if (!writeHeader(&failure))
        return failure ? failure : tooLargeForType();
    // Not before the type has said what it cannot hold.
    if ((failure = checkRoomFor(range)))
        return failure;
    SaveLoop loop(*this, document, range);
    failure = loop.run(progress);
    const MaybeError footerFailure = writeFooter();
    const MaybeError finalFailure = finalizeWriting();
    if (failure)
        return failure;
    return footerFailure ? footerFailure : finalFailure;
}

/// Hours of inserted silence cost nothing until they are saved; then it is better to say at once that the
/// disk cannot hold them than to fill it first.
MaybeError AudioFile::checkRoomFor(const SaveRange& range) const
{
    const int64_t frameBytes = std::max<int64_t>(1, sampleSizeInBytes() * range.numTracks);
    const int64_t numBytesFree = mFileHandle->numBytesFree();
    if (range.numFrames <= numBytesFree / frameBytes)
        return std::nullopt;
    const int64_t numBytes = range.numFrames < std::numeric_limits<int64_t>::max() / frameBytes
                                 ? frameBytes * range.numFrames
                                 : std::numeric_limits<int64_t>::max();
    const QLocale locale = QLocale::c();
    return Error{Error::Code::writeFailed,
                 QStringLiteral("The sound takes %1, and the disk has room for %2.")
                     .arg(locale.formattedDataSize(numBytes), locale.formattedDataSize(numBytesFree))};
}

MaybeError AudioFile::checkSaveRange(const FrameSource& document, const SaveRange& range) const
{
    if (!mFileHandle)
        return Error{Error::Code::writeFailed, QStringLiteral("There is no file to write to.")};
    if (range.numTracks < 1 || range.firstTrack + range.numTracks > document.trackCount())
        return Error{Error::Code::failed, QStringLiteral("There is no track to save.")};
    if (mNumberOfChannels > maximumNumberOfChannels()) {
        return Error{Error::Code::unsupported,
                     QStringLiteral("This format holds at most %1 channels.").arg(maximumNumberOfChannels())};
    }
    return std::nullopt;
}

std::vector<AudioClipPtr> AudioFile::pcmAudioClips(const std::shared_ptr<const AudioFile>& file)
{
    std::vector<AudioClipPtr> clips;
    clips.reserve(file->numberOfChannels());
    for (int64_t channel = 0; channel < file->channelCount(); ++channel)
        clips.push_back(std::make_shared<AudioClip>(file, 0, file->numberOfFrames(), channel));
    return clips;
}

std::vector<std::shared_ptr<MutableAudioClip>> AudioFile::convertedAudioClips(Progress& progress,
                                                                              MaybeError* error)
{
    if (mHoldsNoSound)
        return clipsWithoutSound(static_cast<int32_t>(mNumberOfChannels), mSampleRate);
    if (const auto layout = linearLayout())
        return linearClips(*layout, progress, error);
    const auto decoder = VLAudioFileDecompressor::forReadingFile(mFileHandle, fileFormatUTI(), error);
    if (!decoder)
        return {};
    adjustDecoder(*decoder);
    return decodedClips(*decoder, progress, error);
}

std::vector<std::shared_ptr<MutableAudioClip>> AudioFile::linearClips(const LinearPcmLayout& layout,
                                                                      Progress& progress, MaybeError* error)
{
    const int64_t bytesPerFrame = int64_t{layout.bytesPerSample} * mNumberOfChannels;
    mBitRate = static_cast<int64_t>(mSampleRate * static_cast<double>(8 * bytesPerFrame));
    const LinearPcmRun run = {layout, mSoundDataOffset, mNumberOfFrames * bytesPerFrame};
    const auto didBegin = [this](const DecodedClips& clips) { tellDecodingDidBegin(clips, mNumberOfFrames); };
    return clipsOfLinearPcm(*mFileHandle, run, mNumberOfChannels, mSampleRate, didBegin, progress, error);
}

void AudioFile::takeShapeOf(const VLAudioFileDecompressor& decoder)
{
    mNumberOfChannels = decoder.numberOfChannels();
    mSampleRate = decoder.sampleRate();
    mBitRate = decoder.bitRate();
    mNumberOfFrames = decoder.numberOfFrames();
    if (decoder.bitsPerSample() != 0)
        mBitsPerSample = decoder.bitsPerSample();
    mIsFloat = decoder.isFloat();
    if (mDataFormat == 0)
        mDataFormat = decoder.dataFormat();
}

std::vector<std::shared_ptr<MutableAudioClip>> AudioFile::decodedClips(VLAudioFileDecompressor& decoder,
                                                                       Progress& progress, MaybeError* error)
{
    takeShapeOf(decoder);
    ClipWriter writer(static_cast<int32_t>(mNumberOfChannels), mSampleRate);
    for (const auto& clip : writer.clips())
        clip->setStoredSamples(decoder.storedSamples());
    tellDecodingDidBegin(writer.clips(), decoder.numberOfFrames());
    MaybeError failure;
    ClipWriter::Block block;
    while (!failure && decoder.convertOneBuffer(block) > 0) {
        failure = writer.append(block);
        progress.setProgressValue(static_cast<double>(decoder.convertedFrameCount()) /
                                  static_cast<double>(decoder.numberOfFrames()));
        if (!failure && progress.isCancelled())
            failure = Error::cancelled();
    }
    mNumberOfFrames = decoder.convertedFrameCount();
    tellOfDamage(decoder);
    if (!failure)
        failure = writer.finish();
    if (failure && error)
        *error = failure;
    return failure ? std::vector<std::shared_ptr<MutableAudioClip>>() : writer.clips();
}

void AudioFile::tellOfDamage(const VLAudioFileDecompressor& decoder)
{
    const QString name = displayName(filePath());
    if (decoder.isCutShort() && !mWarnings.contains(FileDamage::soundCutShort(name)))
        mWarnings.append(FileDamage::soundCutShort(name));
    if (decoder.hasMetDamage())
        tellOfDamagedSound();
}

void AudioFile::tellOfDamagedSound()
{
    mWarnings.append(FileDamage::soundDamaged(displayName(filePath())));
    mLedger.addWithSound(QStringLiteral("damaged sound"));
}

void AudioFile::tellDecodingDidBegin(const std::vector<std::shared_ptr<MutableAudioClip>>& clips,
                                     int64_t expectedFrames) const
{
    if (mDecodingWatcher)
        mDecodingWatcher->decodingDidBegin({mSampleRate, mBitsPerSample, expectedFrames, clips});
}

std::vector<ByteRange> AudioFile::closeLedger()
{
    std::vector<ByteRange> forgotten = mLedger.undeclared(lengthOfFile());
    mLedger.declareRest(lengthOfFile());
    return forgotten;
}

bool AudioFile::willWrite(const FileItem& item) const
{
    return item.keeping == Keeping::structure || item.keeping == Keeping::inModel ||
           (item.keeping == Keeping::withSound && mKeptSound) ||
           (mOpenedFile && ValueChanges::isReplaced(item, mOpenedFile->metadata(), mMetadata));
}

MetadataDictionary AudioFile::writtenTags() const
{
    MetadataDictionary tags = mMetadata.dictionary();
    tags.remove(MetadataKey::attachedPictures);
    return tags;
}

MetadataDictionary AudioFile::tagsBefore() const
{
    const bool isSameType = mOpenedFile && mOpenedFile->fileFormatUTI() == fileFormatUTI();
    return isSameType ? mOpenedFile->metadata().dictionary() : MetadataDictionary();
}

double AudioFile::writtenSampleRate() const
{
    return std::round(mSampleRate);
}

bool AudioFile::readsOpenedFile() const
{
    if (!mOpenedFile || !mOpenedFile->fileHandle())
        return false;
    const std::vector<FileItem>& items = mOpenedFile->ledger().items();
    return std::any_of(items.begin(), items.end(), [this](const FileItem& item) {
        return item.keeping == Keeping::asBytes && willWrite(item);
    });
}

MaybeError AudioFile::refusalToReplace(const AudioFile& opened) const
{
    const QStringList streams =
        opened.ledger().namesOf(ItemKind::stream, [this](const FileItem& item) { return !willWrite(item); });
    if (streams.isEmpty())
        return std::nullopt;
    return Error{
        Error::Code::unsupported,
        QStringLiteral("“%1” also holds what this save would lose (%2); use Save As to write the sound "
                       "to another file.")
            .arg(displayName(opened.filePath()), streams.join(QStringLiteral(", ")))};
}

void AudioFile::takeOverLedger()
{
    FileLedger ledger;
    const auto takeOver = [this, &ledger](const std::shared_ptr<const AudioFile>& from, Keeping keeping) {
        if (!from)
            return;
        for (FileItem item : from->ledger().items()) {
            if (item.keeping != keeping || !willWrite(item))
                continue;
            item.bytes = {};
            ledger.add(item);
        }
    };
    takeOver(mOpenedFile, Keeping::asBytes);
    takeOver(mOpenedFile, Keeping::withTag);
    takeOver(mKeptSound, Keeping::withSound);
    mLedger = std::move(ledger);
    mOpenedFile = nullptr;
    mKeptSound = nullptr;
    mPiecesSource = nullptr;
    mKeptPieces.clear();
}

bool AudioFile::storesSamplesLike(const SampleFile& source) const
{
    const auto* const other = dynamic_cast<const AudioFile*>(&source);
    if (!other || mIsFloat || other->mIsFloat || other->mRequiresConversion || !storesIntegers())
        return false;
    if (sampleSizeInBytes() != other->sampleSizeInBytes() || channelCount() != other->channelCount())
        return false;
    return hasOffsetEncoding() == other->hasOffsetEncoding() &&
           (sampleSizeInBytes() == 1 || mIsLittleEndian == other->mIsLittleEndian);
}

} // namespace velloria
