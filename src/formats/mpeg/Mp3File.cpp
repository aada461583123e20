#include "formats/mpeg/Mp3File.h"

#include "formats/decoding/FileDamage.h"
#include "formats/decoding/VLAudioFileDecompressor.h"
#include "formats/file/Id3SoundChange.h"
#include "formats/mpeg/Mp3Saver.h"
#include "formats/mpeg/PacketStreamLedger.h"
#include "formats/mpegframes/Mp3SeamWriter.h"
#include "formats/tagediting/Id3Intake.h"
#include "formats/tags/ID3Data.h"
#include "platform/MissedReads.h"
#include "platform/codec/ElementaryStreams.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

constexpr FourCharCode layer1 = fourCharCode(".mp1");
constexpr FourCharCode layer2 = fourCharCode(".mp2");

constexpr int64_t defaultBitRate = 128000;

bool isMpegAudioFormat(FourCharCode dataFormat)
{
    return dataFormat == DataFormat::kMp3 || dataFormat == layer2 || dataFormat == layer1;
}

} // namespace

Mp3File::Mp3File(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : DecodedFile(sampleRate, sampleSize, numChannels)
{
    mCanSaveMetadata = true;
    // Beyond the plain description, which has none: podcasts have chapters.
    mCanSaveMarkers = true;
    mCanSaveArtwork = true;
    mDataFormat = DataFormat::kMp3;
}

Mp3File::Mp3File(std::shared_ptr<FileHandle> handle)
    : DecodedFile(std::move(handle))
{
    mCanSaveMetadata = true;
    mCanSaveMarkers = true;
    mCanSaveArtwork = true;
}

bool Mp3File::validateFileHeader(const FileHandle& handle)
{
    return ElementaryStreams::startOfMpegAudio(handle).has_value();
}

std::shared_ptr<AudioFile> Mp3File::open(std::shared_ptr<FileHandle> handle, MaybeError* error)
{
    if (!validateFileHeader(*handle))
        return nullptr;
    const std::shared_ptr<Mp3File> file(new Mp3File(std::move(handle)));
    const MaybeError failure = file->openDecoder();
    if (!failure)
        return file;
    if (error)
        *error = failure;
    return nullptr;
}

MaybeError Mp3File::openDecoder()
{
    MaybeError failure;
    auto decoder = VLAudioFileDecompressor::forReadingFile(fileHandle(), fileFormatUTI(), &failure);
    if (!decoder || !isMpegAudioFormat(decoder->dataFormat()))
        return failure ? failure
                       : FileDamage::unreadable(displayName(filePath()),
                                                QStringLiteral("its MPEG audio is damaged"));
    mPrimingFrames = decoder->numberOfPrimingFrames();
    takeDecoder(std::move(decoder));
    mPacketBitRate = mBitRate;
    readTag();
    return std::nullopt;
}

/// Sets the bit rate to the average over everything behind the tag at the file's start.
void Mp3File::readTag()
{
    const auto tag = ID3Data::id3DataWithFile(*fileHandle());
    const int64_t tagLength = tag ? tag->length() : 0;
    if (mNumberOfFrames > 0) {
        const double seconds = static_cast<double>(mNumberOfFrames) / mSampleRate;
        mBitRate = std::llround(static_cast<double>(lengthOfFile() - tagLength) / seconds * 8.0);
    }
    std::optional<FileLedger> tagLedger;
    if (tag) {
        tagLedger = takeInId3Tag(tag->tagData(), mMetadata, true);
        if (!tagLedger)
            mWarnings.append(FileDamage::tagsUnreadable(displayName(filePath())));
    }
    mTags = PacketStreamTags::ofFile(*fileHandle(), tagLedger ? PacketStreamTags::FirstTag::edited
                                                              : PacketStreamTags::FirstTag::replaced);
    if (!mTags.id3().isEmpty())
        mMarkers = Id3Chapters::markers(mTags.id3(), mSampleRate);
    mLedger = packetStreamLedger(*fileHandle(), true, tagLedger, &mPacketTraits);
}

bool Mp3File::isLameInstalled()
{
    return Mp3Encoder::isLameInstalled();
}

const std::vector<int64_t>& Mp3File::validBitRates()
{
    static const std::vector<int64_t> rates = {8000,   16000,  24000,  32000,  40000,  48000,
                                               56000,  64000,  80000,  96000,  112000, 128000,
                                               160000, 192000, 224000, 256000, 320000};
    return rates;
}

int64_t Mp3File::closestValidBitRate(int64_t bitRate)
{
    const std::vector<int64_t>& rates = validBitRates();
    return *std::min_element(rates.begin(), rates.end(), [bitRate](int64_t a, int64_t b) {
        return std::abs(a - bitRate) < std::abs(b - bitRate);
    });
}

FileOptions Mp3File::fileOptions() const
{
    FileOptions options;
    options.label = QStringLiteral("Bit Rate:");
    for (const int64_t rate : validBitRates())
        options.items.push_back({static_cast<int>(rate), QStringLiteral("%1 kbps").arg(rate / 1000)});
    options.selectedTag = static_cast<int>(effectiveBitRate());
    return options;
}

bool Mp3File::canSavePicture(const AttachedPicture& picture) const
{
    return id3Save().canHold(picture);
}

MetadataDictionary Mp3File::writtenTags() const
{
    return id3Save().tagsReadBack();
}

bool Mp3File::willWrite(const FileItem& item) const
{
    return item.keeping == Keeping::withTag ? openedMp3() && id3Save().keeps(item)
                                            : DecodedFile::willWrite(item);
}

/// What was saved is what the next save edits.
void Mp3File::takeOverLedger()
{
    mTags = tagsToWrite();
    mSeamPlan.reset();
    DecodedFile::takeOverLedger();
}

const Mp3File* Mp3File::openedMp3() const
{
    return dynamic_cast<const Mp3File*>(openedFile().get());
}

Id3Save Mp3File::id3Save() const
{
    const Mp3File* const opened = openedMp3();
    Id3SoundChange sound = opened ? id3SoundChange(*opened, *this) : Id3SoundChange();
    const bool hasMarkers = mMarkers && !mMarkers->empty();
    if (!opened || (hasMarkers && opened->mTags.id3().isEmpty())) {
        sound.chapters = {mMarkers, mSampleRate, mNumberOfFrames, mNumberOfFrames, true};
        return hasMarkers ? Id3Save(mMetadata, sound) : Id3Save(mMetadata);
    }
    if (mCanSaveMarkers)
        sound.chapters = chaptersNow(*opened, sound.isEncodedAnew);
    return Id3Save(opened->mTags.id3(), opened->metadata(), mMetadata, sound);
}

Id3Chapters::Target Mp3File::chaptersNow(const Mp3File& opened, bool isEncodedAnew) const
{
    const double scale = mSampleRate / std::max(1.0, opened.sampleRate());
    return {mMarkers, mSampleRate, mNumberOfFrames,
            std::llround(static_cast<double>(opened.numberOfFrames()) * scale), isEncodedAnew};
}

PacketStreamTags Mp3File::tagsToWrite() const
{
    const Mp3File* const opened = openedMp3();
    PacketStreamTags tags;
    if (opened) {
        tags = opened->mTags;
        tags.edit(opened->metadata(), mMetadata);
    }
    tags.setId3(id3Save().tag());
    return tags;
}

void Mp3File::validateAndCorrectParameters()
{
    DecodedFile::validateAndCorrectParameters();
    mBitRate = effectiveBitRate();
    mDataFormat = DataFormat::kMp3;
    const Mp3File* const opened = openedMp3();
    mCanSaveMarkers = !opened || opened->mTags.id3().isEmpty() || Id3Chapters::canHold(opened->mTags.id3());
}

/// Those that were read lie on whole milliseconds.
QString Mp3File::lossOfMarkers() const
{
    if (!mMarkers || !mCanSaveMarkers)
        return {};
    const bool isBetween =
        std::any_of(mMarkers->begin(), mMarkers->end(), [this](const AudioMarkerPtr& each) {
            const uint32_t time = Id3Chapters::timeOf(each->position(), mSampleRate);
            return Id3Chapters::positionOf(time, mSampleRate) != each->position();
        });
    return isBetween
               ? QStringLiteral("Chapters of MP3 files begin at whole milliseconds; markers between these "
                                "move by less than one.")
               : QString();
}

std::optional<Mp3Encoder::Output> Mp3File::output() const
{
    return Mp3Encoder::outputOf(Mp3Saver::options(mSampleRate, mNumberOfChannels, effectiveBitRate()));
}

/// Low bit rates leave no room for every rate and for two channels, low rates have no high bit rates; what
/// the encoder does then it is asked.
QStringList Mp3File::lossesOfEncoding() const
{
    const auto output = this->output();
    QStringList losses;
    if (output && output->isMono && mNumberOfChannels > 1)
        losses += QStringLiteral("The %1 tracks are mixed to mono.").arg(mNumberOfChannels);
    else if (mNumberOfChannels > 2)
        losses += QStringLiteral("The %1 tracks are mixed to stereo.").arg(mNumberOfChannels);
    if (output && output->sampleRate != mSampleRate)
        losses +=
            QStringLiteral("Sound of %1 Hz is converted to %2 Hz.").arg(mSampleRate).arg(output->sampleRate);
    if (output && output->bitRate != effectiveBitRate())
        losses += QStringLiteral("MP3 files of %1 Hz have at most %2 kbps, not %3.")
                      .arg(output->sampleRate)
                      .arg(output->bitRate / 1000)
                      .arg(effectiveBitRate() / 1000);
    if (const QString loss = lossOfPacketTraits(); !loss.isEmpty())
        losses += loss;
    return losses;
}

QStringList Mp3File::soundLosses() const
{
    QStringList losses = keptSound() || piecesSource() ? QStringList() : lossesOfEncoding();
    if (const QString loss = lossOfMarkers(); !loss.isEmpty())
        losses += loss;
    return losses + id3Save().displayLosses(tagsBefore());
}

/// New packets are made with what nearly all files have.
QString Mp3File::lossOfPacketTraits() const
{
    const Mp3File* const opened = openedMp3();
    if (!opened)
        return {};
    const ElementaryStreams::MpegPacketTraits& traits = opened->mPacketTraits;
    const std::array<std::pair<bool, QString>, 6> names = {{
        {traits.hasVariableBitRate, QStringLiteral("a variable bit rate")},
        {traits.hasIndependentChannels, QStringLiteral("two independent channels")},
        {traits.hasChecksums, QStringLiteral("checksums")},
        {traits.isPrivate, QStringLiteral("a private bit")},
        {traits.isCopyrighted, QStringLiteral("the copyright bit")},
        {traits.isCopy, QStringLiteral("the mark of a copy")},
    }};
    QStringList lost;
    for (const auto& [isThere, name] : names) {
        if (isThere)
            lost += name;
    }
    return lost.isEmpty() ? QString()
                          : QStringLiteral("Encoded anew, the sound loses what its packets had: %1.")
                                .arg(lost.join(QStringLiteral(", ")));
}

/// Where nobody chose a bit rate, that of the opened file's packets: its average over the whole file, which a
/// person is shown, is higher in a short one.
int64_t Mp3File::effectiveBitRate() const
{
    const Mp3File* const opened = openedMp3();
    if (opened && opened->mPacketBitRate > 0 && mBitRate == opened->bitRate())
        return closestValidBitRate(opened->mPacketBitRate);
    return closestValidBitRate(mBitRate == 0 ? defaultBitRate : mBitRate);
}

MaybeError Mp3File::writeRange(const FrameSource& document, const SaveRange& range, Progress& progress)
{
    if (range.numFrames == 0)
        return FileDamage::noSoundToSave(displayTypeName());
    const PacketStreamTags tags = tagsToWrite();
    const QByteArray front = tags.front();
    if (MaybeError error = writeRawData(front, 0))
        return error;
    mSoundDataOffset = front.size();
    if (MaybeError error =
            piecesSource() ? writeWithSeams(document, range, progress) : encode(document, range, progress))
        return error;
    return writeRawData(tags.behind(), lengthOfFile());
}

MaybeError Mp3File::encode(const FrameSource& document, const SaveRange& range, Progress& progress)
{
    mBitRate = effectiveBitRate();
    Mp3Saver saver(document, range, mBitRate);
    if (const auto written = output())
        mBitRate = written->bitRate;
    return saver.run(*fileHandle(), mSoundDataOffset, progress);
}

MaybeError Mp3File::writeWithSeams(const FrameSource& document, const SaveRange& range, Progress& progress)
{
    const auto index = static_cast<const Mp3File&>(*piecesSource()).frameIndex();
    // The length of a selection was not known to the frame before.
    if (index && mSeamPlan && mSeamPlan->numFrames != range.numFrames)
        mSeamPlan = Mp3SeamPlan::make(*index, keptPieces(), range.numFrames);
    if (!index || !mSeamPlan)
        return encode(document, range, progress);
    Mp3SeamWriter writer(document, range, *piecesSource()->fileHandle(), *index, *mSeamPlan);
    return writer.run(*fileHandle(), mSoundDataOffset, progress);
}

/// Looked for when it is first asked for, which costs a pass over the packets.
std::shared_ptr<const Mp3FrameIndex> Mp3File::frameIndex() const
{
    std::call_once(mIndexOnce, [this] {
        const auto packets = packetStreamBytes(*fileHandle());
        mIndex = packets ? Mp3FrameIndex::ofFile(*fileHandle(), *packets) : nullptr;
    });
    return mIndex;
}

/// Only where the packets are known to decode to what the document was opened with, frame for frame.
bool Mp3File::takePieces(const AudioFile& source, const SoundPieces& pieces)
{
    mSeamPlan.reset();
    const auto* const opened = dynamic_cast<const Mp3File*>(&source);
    if (!opened || opened->mDataFormat != DataFormat::kMp3 ||
        opened->mNumberOfChannels != mNumberOfChannels || opened->mSampleRate != mSampleRate ||
        (closestValidBitRate(opened->mPacketBitRate) != effectiveBitRate() &&
         closestValidBitRate(opened->bitRate()) != effectiveBitRate()))
        return false;
    const auto index = opened->frameIndex();
    if (!index || index->numFrames() != opened->numberOfFrames() ||
        opened->mPrimingFrames.value_or(index->primingFrames()) != index->primingFrames() ||
        index->head().sampleRate != mSampleRate || index->head().isMono() != (mNumberOfChannels == 1))
        return false;
    const auto plan = Mp3SeamPlan::make(*index, pieces, mNumberOfFrames);
    if (!plan || (plan->report().numFramesEncoded > 0 && !isLameInstalled()))
        return false;
    mSeamPlan = plan;
    mPacketBitRate = opened->mPacketBitRate;
    mPacketTraits = opened->mPacketTraits;
    return true;
}

/// The packets tell their rate and length themselves, and the one with the encoder's notes (delay, padding,
/// seek table) counts from its own start, so they may follow a tag of any length. Packets of the older layers
/// are kept under the name that they had.
bool Mp3File::takeSound(const AudioFile& source)
{
    const auto* const opened = dynamic_cast<const Mp3File*>(&source);
    if (!opened || closestValidBitRate(opened->mPacketBitRate) != effectiveBitRate() ||
        !packetStreamBytes(*opened->fileHandle()))
        return false;
    if (opened->mDataFormat != DataFormat::kMp3 && opened->filePath().extension() != filePath().extension())
        return false;
    mPacketBitRate = opened->mPacketBitRate;
    mPacketTraits = opened->mPacketTraits;
    return true;
}

MaybeError Mp3File::writeKeptSound(Progress& progress)
{
    const std::optional<ByteRange> packets = packetStreamBytes(*keptSound()->fileHandle());
    if (!packets)
        return missedReadsError(*keptSound()->fileHandle());
    const PacketStreamTags tags = tagsToWrite();
    const QByteArray front = tags.front();
    if (MaybeError error = writeRawData(front, 0))
        return error;
    mSoundDataOffset = front.size();
    if (MaybeError error = copyKeptBytes(*packets, mSoundDataOffset, progress))
        return error;
    return writeRawData(tags.behind(), lengthOfFile());
}

QString Mp3File::fileFormatUTI() const
{
    return QStringLiteral("public.mp3");
}

QString Mp3File::encodingDescription() const
{
    const int layer = mDataFormat == layer1 ? 1 : mDataFormat == layer2 ? 2 : 3;
    return QStringLiteral("MPEG Layer %1").arg(layer);
}

} // namespace velloria
