#include "formats/flac/FLACFile.h"

#include "formats/comments/VorbisChapters.h"
#include "formats/comments/VorbisCommentEdit.h"
#include "formats/decoding/FileDamage.h"
#include "formats/file/StartTime.h"
#include "formats/flac/FlacConversion.h"
#include "formats/flac/FlacEncoder.h"
#include "formats/flac/FlacInOgg.h"
#include "formats/flac/FlacLedger.h"
#include "formats/flac/FlacPacketIndex.h"
#include "formats/flac/FlacSeamWriter.h"
#include "formats/ogg/OggHeaderEdit.h"
#include "formats/ogg/OggLedger.h"
#include "formats/ogg/OggSerialNumber.h"
#include "formats/ogg/OggStreams.h"
#include "formats/saving/IntegerFeed.h"
#include "platform/Log.h"
#include "platform/MissedReads.h"

#include <FLAC/format.h>
#include <QtEndian>
#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

constexpr FourCharCode flacFormat = fourCharCode("flac");
constexpr FourCharCode flacInOgg = fourCharCode("Oflc");
constexpr std::array sampleSizes = {8, 12, 16, 20, 24};
constexpr int defaultSampleSize = 16;
constexpr uint32_t narrowestSample = 8;
constexpr uint32_t widestSample = 32;
constexpr double highestRate = 4294967295.0;
// Integers of more bits are not what they were when floats were made of them.
constexpr uint32_t widestExactSample = 24;
// Eight blocks of the file: handing them over costs nothing then, and cancelling is still heard at once.
constexpr int64_t framesPerPass = int64_t{8} * 4096;
// Bytes of a file against those of its samples, for each bit of the sample size: what music comes to.
constexpr double estimatedRatioPerBit = 0.03245192308;

} // namespace

FLACFile::FLACFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : AudioFile(sampleRate, sampleSize, numChannels)
{
    mCanSaveMetadata = true;
    // Beyond the plain description, which has neither: other programs read both.
    mCanSaveMarkers = true;
    mCanSaveArtwork = true;
}

FLACFile::FLACFile(std::shared_ptr<FileHandle> handle)
    : AudioFile(std::move(handle))
{
    mCanSaveMetadata = true;
    mCanSaveMarkers = true;
    mCanSaveArtwork = true;
    mRequiresConversion = true;
    mDataFormat = flacFormat;
}

FLACFile::~FLACFile() = default;

bool FLACFile::validateFileHeader(const FileHandle& handle)
{
    return FlacDescription::containerOf(handle).has_value();
}

std::shared_ptr<AudioFile> FLACFile::open(std::shared_ptr<FileHandle> handle, MaybeError* error)
{
    const auto container = FlacDescription::containerOf(*handle);
    if (!container)
        return nullptr;
    QString why;
    auto description = FlacDescription::read(handle, *container, &why);
    if (!description) {
        if (error)
            *error = FileDamage::unreadable(displayName(handle->path()), why);
        return nullptr;
    }
    const std::shared_ptr<FLACFile> file(new FLACFile(std::move(handle)));
    file->takeDescription(std::move(*description));
    return file;
}

void FLACFile::takeDescription(FlacDescription description)
{
    mSampleRate = description.format.sampleRate;
    mNumberOfChannels = description.format.numChannels;
    mBitsPerSample = description.format.bitsPerSample;
    mNumberOfFrames = description.numFrames;
    if (!description.comments.isEmpty())
        mMetadata.setValuesWithDictionary(description.comments.dictionary());
    // A plain save writes what the file was.
    mDataFormat = description.container.isOgg ? flacInOgg : flacFormat;
    mLedger = description.ledger;
    mMarkers = description.comments.chapters(mSampleRate);
    description.comments.declare(mMetadata, mLedger,
                                 description.blocks ? Keeping::asBytes : Keeping::notKept);
    mBlocks = description.blocks;
    mDescription = std::make_unique<const FlacDescription>(std::move(description));
}

QString FLACFile::fileFormatUTI() const
{
    return QStringLiteral("org.videolan.flac");
}

std::vector<std::shared_ptr<MutableAudioClip>> FLACFile::convertedAudioClips(Progress& progress,
                                                                             MaybeError* error)
{
    std::unique_ptr<FlacConversion> conversion;
    // The frames may tell otherwise than the description.
    const auto takeFormat = [&] {
        mSampleRate = conversion->format().sampleRate;
        mNumberOfChannels = conversion->format().numChannels;
        mBitsPerSample = conversion->format().bitsPerSample;
        tellDecodingDidBegin(conversion->clips(), mDescription->numFrames);
    };
    conversion = std::make_unique<FlacConversion>(mFileHandle, *mDescription, takeFormat);
    if (MaybeError failure = conversion->run(progress)) {
        if (error)
            *error = failure;
        return {};
    }
    mNumberOfFrames = conversion->numFrames();
    declareWhatDecodingFound(*conversion);
    const QString name = displayName(filePath());
    mWarnings = conversion->warnings(name);
    // Sound that was streamed does not know its length, but its last page is marked.
    if (mWarnings.isEmpty() && mDescription->container.isOgg && !OggStreams::isComplete(*mFileHandle))
        mWarnings.append(FileDamage::soundCutShort(name));
    if (!mWarnings.isEmpty())
        logLine(QStringLiteral("FLAC file may be corrupted."));
    if (mDescription->container.end > 0)
        mWarnings.append(FileDamage::furtherSoundNotOpened(name));
    return conversion->clips();
}

void FLACFile::declareWhatDecodingFound(const FlacConversion& conversion)
{
    if (auto rest = FlacLedger::behindSound(*mFileHandle, conversion.endOfSound()))
        mLedger.add(*std::move(rest));
    if (mSampleRate > 0.0)
        declareStartTime(static_cast<double>(conversion.firstFrame()) / mSampleRate, mLedger);
    mIsSoundComplete = !conversion.isDamaged() && conversion.firstFrame() == 0;
    if (conversion.isDamaged())
        mLedger.addWithSound(QStringLiteral("damaged sound"));
}

bool FLACFile::isInOgg() const
{
    return mDataFormat == flacInOgg;
}

void FLACFile::setInOgg(bool isInOgg)
{
    mDataFormat = isInOgg ? flacInOgg : flacFormat;
}

/// A save in place keeps what the file is, whatever it is called; elsewhere the name's extension says what is
/// expected.
bool FLACFile::shouldBeInOgg() const
{
    if (openedFile() && openedFile()->filePath() == filePath())
        return isInOgg();
    const std::string extension = filePath().extension().string();
    if (extension == ".flac")
        return false;
    return isInOgg() || extension == ".ogg" || extension == ".oga";
}

FileOptions FLACFile::fileOptions() const
{
    FileOptions options{QStringLiteral("Sample Size:"), {}, defaultSampleSize};
    for (const int bits : sampleSizes) {
        options.items.push_back({bits, QStringLiteral("%1 bit").arg(bits)});
        if (static_cast<uint32_t>(bits) == mBitsPerSample)
            options.selectedTag = bits;
    }
    return options;
}

double FLACFile::estimatedFileSizeWithTag(int tag) const
{
    const int bits = tag == 0 ? defaultSampleSize : tag;
    return bits * AudioFile::estimatedFileSizeWithTag(defaultSampleSize) * estimatedRatioPerBit;
}

MetadataDictionary FLACFile::writtenTags() const
{
    VorbisCommentPacket comments = commentsBefore();
    comments.setTags(mMetadata.dictionary());
    return VorbisCommentEdit::tagsOf(comments.entries());
}

/// Of the file that is edited.
VorbisCommentPacket FLACFile::commentsBefore() const
{
    const FLACFile* const edited = editedFile();
    return edited ? FlacMetadataEdit::commentsOf(*edited->mBlocks) : VorbisCommentPacket();
}

bool FLACFile::canSavePicture(const AttachedPicture& picture) const
{
    return FlacMetadataEdit::canHold(picture);
}

QStringList FLACFile::soundLosses() const
{
    const QString loss = VorbisChapters::lossOf(commentsBefore().entries(), mMarkers, mSampleRate);
    return loss.isEmpty() ? QStringList() : QStringList(loss);
}

void FLACFile::validateAndCorrectParameters()
{
    AudioFile::validateAndCorrectParameters();
    mBitsPerSample = std::clamp(mBitsPerSample, narrowestSample, widestSample);
    setInOgg(isInOgg());
}

/// The file whose metadata this one gets, with what was changed; null for a new file.
const FLACFile* FLACFile::editedFile() const
{
    const auto& file = keptSound() ? keptSound() : openedFile();
    const auto* const opened = dynamic_cast<const FLACFile*>(file.get());
    return opened && opened->mBlocks ? opened : nullptr;
}

int64_t FLACFile::maximumNumberOfMarkers() const
{
    return VorbisChapters::mostChapters;
}

bool FLACFile::holdsSoundAsLongAs(const FLACFile& other) const
{
    return mNumberOfFrames == other.mNumberOfFrames && mSampleRate == other.mSampleRate;
}

bool FLACFile::willWrite(const FileItem& item) const
{
    if (item.keeping != Keeping::asBytes)
        return AudioFile::willWrite(item);
    const FLACFile* const edited = editedFile();
    return edited && (item.name != FlacLedger::cueSheet || holdsSoundAsLongAs(*edited));
}

FlacMetadataEdit::Blocks FLACFile::blocksToWrite() const
{
    const FLACFile* const edited = editedFile();
    const FlacMetadataEdit::Blocks before = edited ? *edited->mBlocks : FlacMetadataEdit::Blocks();
    FlacMetadataEdit::Blocks blocks = before;
    VorbisCommentPacket comments = FlacMetadataEdit::commentsOf(blocks);
    const QList<QByteArray> entriesBefore = comments.entries();
    comments.setTags(mMetadata.dictionary());
    comments.setEntries(VorbisChapters::edited(comments.entries(), mMarkers, mSampleRate));
    if (comments.entries() != entriesBefore)
        FlacMetadataEdit::setComments(blocks, comments);
    FlacMetadataEdit::setPictures(blocks, mMetadata.artwork());
    FlacMetadataEdit::settlePadding(blocks, before);
    return blocks;
}

/// In front of sound that is encoded anew, by a library that has a name; that of most packets may be another
/// one.
FlacMetadataEdit::Blocks FLACFile::blocksToEncode(bool keepsPackets) const
{
    const FLACFile* const edited = editedFile();
    FlacMetadataEdit::Blocks blocks = blocksToWrite();
    const bool keepsTimes = edited && holdsSoundAsLongAs(*edited);
    const bool comesIntoOgg = isInOgg() && edited && !edited->isInOgg();
    std::erase_if(blocks, [&](const FlacMetadataEdit::Block& block) {
        // Pages of Ogg have their positions, and no block there could grow into another.
        return (block.type == FLAC__METADATA_TYPE_CUESHEET && !keepsTimes) ||
               (block.type == FLAC__METADATA_TYPE_SEEKTABLE && isInOgg()) ||
               (block.type == FLAC__METADATA_TYPE_PADDING && comesIntoOgg);
    });
    VorbisCommentPacket comments = FlacMetadataEdit::commentsOf(blocks);
    const bool hasComments = !comments.entries().isEmpty() || !comments.vendor().isEmpty();
    if (!edited || !keepsPackets)
        comments.setVendor(FlacEncoder::vendor());
    if (hasComments || !edited || isInOgg())
        FlacMetadataEdit::setComments(blocks, comments);
    if (isInOgg())
        std::stable_partition(blocks.begin(), blocks.end(), [](const FlacMetadataEdit::Block& block) {
            return block.type == FLAC__METADATA_TYPE_VORBIS_COMMENT;
        });
    return blocks;
}

MaybeError FLACFile::writeRange(const FrameSource& document, const SaveRange& range, Progress& progress)
{
    const FlacFormat format = {static_cast<uint32_t>(std::clamp(std::round(mSampleRate), 0.0, highestRate)),
                               mNumberOfChannels, mBitsPerSample};
    setInOgg(shouldBeInOgg());
    const std::optional<PacketPlan> plan = planSeams(range.numFrames);
    mBlocks = blocksToEncode(plan.has_value());
    if (MaybeError error = FlacMetadataEdit::refusal(*mBlocks))
        return error;
    if (plan)
        return writeSeams(*plan, document, range, format, progress);
    std::optional<int> serialNumber;
    if (isInOgg())
        serialNumber = oggSerialNumber(document, range, FlacMetadataEdit::commentsOf(*mBlocks).text());
    FlacEncoder encoder(mFileHandle, format, range.numFrames, serialNumber);
    if (MaybeError error = encoder.start(*mBlocks))
        return error;
    IntegerFeed feed(document.audioTracks(), range, framesPerPass, static_cast<int>(mBitsPerSample));
    MaybeError error;
    while (!error && feed.next()) {
        error = encoder.encode(feed.channels(), feed.numFrames());
        progress.setMarkValue(progress.markValue() + feed.numFrames());
        if (!error && progress.isCancelled())
            error = Error::cancelled();
    }
    const MaybeError finishError = encoder.finish();
    mBlocks = encoder.blocks();
    return error ? error : finishError;
}

/// Frames are numbered from the first one and the seek table counts from there, so metadata of any length may
/// stand in front of them. In Ogg the pages can be numbered anew.
bool FLACFile::takeSound(const AudioFile& source)
{
    const auto* const opened = dynamic_cast<const FLACFile*>(&source);
    if (!opened || opened->isInOgg() != shouldBeInOgg() || opened->bitsPerSample() != mBitsPerSample)
        return false;
    const FileHandle& handle = *opened->fileHandle();
    if (!opened->mBlocks)
        return false;
    if (opened->isInOgg() ? !FlacInOgg::headersOf(handle) || !holdsOneOggStream(opened->ledger())
                          : !FlacLayout::ofFile(handle).isWhole)
        return false;
    mIsSoundComplete = opened->mIsSoundComplete;
    return true;
}

/// Whether the packets follow one another is looked at when they are copied, since that takes some time.
bool FLACFile::takePieces(const AudioFile& source, const SoundPieces&)
{
    const auto* const opened = dynamic_cast<const FLACFile*>(&source);
    return opened && opened->mIsSoundComplete && !opened->isInOgg() && !shouldBeInOgg() &&
           opened->bitsPerSample() == mBitsPerSample && mBitsPerSample <= widestExactSample &&
           opened->numberOfChannels() == mNumberOfChannels &&
           FlacLayout::ofFile(*opened->fileHandle()).isWhole;
}

/// Nothing where all is to be encoded.
std::optional<PacketPlan> FLACFile::planSeams(int64_t numFrames) const
{
    if (!piecesSource() || isInOgg())
        return std::nullopt;
    const FileHandle& source = *piecesSource()->fileHandle();
    const FlacLayout layout = FlacLayout::ofFile(source);
    auto packets = layout.isWhole
                       ? FlacPacketIndex::read(source, layout.sound, piecesSource()->numberOfFrames())
                       : std::nullopt;
    if (!packets)
        return std::nullopt;
    // The description tells the longest packet in its second number.
    const QByteArray told = source.readAt(layout.blocks.front().payload().offset + 2, 2);
    int64_t length = told.size() == 2 ? qFromBigEndian<quint16>(told.constData()) : 0;
    for (const SoundPacket& packet : *packets)
        length = std::max<int64_t>(length, packet.numFrames);
    PacketPlan plan(*std::move(packets), keptPieces(), numFrames,
                    {std::max(length, FlacPacketHead::leastFrames), FlacPacketHead::leastFrames});
    return plan.keepsAny() ? std::optional(std::move(plan)) : std::nullopt;
}

MaybeError FLACFile::writeSeams(const PacketPlan& plan, const FrameSource& document, const SaveRange& range,
                                const FlacFormat& format, Progress& progress)
{
    FlacSeamWriter writer(plan, *piecesSource()->fileHandle(), fileHandle(), format);
    MaybeError error = writer.write(document, range, *mBlocks, progress);
    mBlocks = writer.blocks();
    return error;
}

MaybeError FLACFile::writeKeptSound(Progress& progress)
{
    mBlocks = blocksToWrite();
    if (MaybeError error = FlacMetadataEdit::refusal(*mBlocks))
        return error;
    return isInOgg() ? writeKeptPages(progress) : writeKeptFrames(progress);
}

MaybeError FLACFile::writeKeptPages(Progress& progress)
{
    const FileHandle& source = *keptSound()->fileHandle();
    const std::optional<OggHeaders> headers = FlacInOgg::headersOf(source);
    if (!headers)
        return missedReadsError(source);
    return writeOggWithHeaders(source, *headers, FlacInOgg::packetsWith(*headers, *mBlocks), *fileHandle(),
                               progress);
}

MaybeError FLACFile::writeKeptFrames(Progress& progress)
{
    const FileHandle& source = *keptSound()->fileHandle();
    const FlacLayout layout = FlacLayout::ofFile(source);
    if (!layout.isWhole)
        return missedReadsError(source);
    const ByteRange description = layout.blocks.front().payload();
    const QByteArray streamInfo = source.readAt(description.offset, description.length);
    if (streamInfo.size() != description.length)
        return missedReadsError(source);
    const QByteArray metadata =
        "fLaC" + FlacMetadataEdit::bytesOf({FLAC__METADATA_TYPE_STREAMINFO, streamInfo}, mBlocks->empty()) +
        FlacMetadataEdit::bytesOf(*mBlocks);
    if (MaybeError error = writeRawData(metadata, 0))
        return error;
    mSoundDataOffset = metadata.size();
    return copyKeptBytes(layout.sound, mSoundDataOffset, progress);
}

} // namespace velloria
