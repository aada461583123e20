#include "formats/vorbis/OggVorbisFile.h"

#include "formats/comments/PictureBlock.h"
#include "formats/comments/VorbisChapters.h"
#include "formats/comments/VorbisCommentEdit.h"
#include "formats/decoding/FileDamage.h"
#include "formats/file/StartTime.h"
#include "formats/ogg/OggHeaderEdit.h"
#include "formats/ogg/OggLedger.h"
#include "formats/ogg/OggPageCheck.h"
#include "formats/ogg/OggSerialNumber.h"
#include "formats/ogg/OggStreams.h"
#include "formats/saving/FrameFeed.h"
#include "formats/vorbis/VorbisConversion.h"
#include "formats/vorbis/VorbisEncoder.h"
#include "formats/vorbis/VorbisHeaders.h"
#include "platform/Log.h"
#include "platform/MissedReads.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace velloria
{

namespace
{

constexpr FourCharCode vorbisFormat = fourCharCode("vorb");
constexpr std::array bitRates = {8000,  16000, 20000,  24000,  32000,  40000,  48000,  56000, 64000,
                                 80000, 96000, 112000, 128000, 160000, 192000, 256000, 320000};
// Tags from 101 to 110 are ten times the quality, and 100; larger ones are bit rates.
constexpr int lowestQualityTag = 101;
constexpr int highestQualityTag = 110;
constexpr int recommendedTag = 106;
constexpr int lowestBitRateTag = 4000;
constexpr int highestBitRateTag = 1024000;
constexpr float recommendedQuality = 1.7F;
constexpr float lowestQuality = 0.9F;
constexpr double highestRate = 2147483647.0;
// Of the transform: positions may be off by as many frames where streams were cut.
constexpr int64_t longestBlock = 8192;

/// What the file holds instead of Vorbis, as far as that is known.
QString reasonToRefuse(const std::vector<OggStreams::Start>& starts)
{
    constexpr std::array<std::pair<const char*, const char*>, 4> codecs = {
        {{"OpusHead", "Opus"}, {"Speex", "Speex"}, {"\x80theora", "Theora"}, {"\x01vorbis", "Vorbis"}}};
    for (const auto& [firstBytes, name] : codecs) {
        if (!OggStreams::startWith(starts, firstBytes))
            continue;
        if (QLatin1String(name) == QLatin1String("Vorbis"))
            return QStringLiteral("its Vorbis headers are damaged");
        return QStringLiteral("it holds %1, not Vorbis").arg(QLatin1String(name));
    }
    return QStringLiteral("it holds no Vorbis sound");
}

std::set<uint32_t> serialNumbersOf(const VorbisStream& stream)
{
    std::set<uint32_t> serialNumbers;
    for (int link = 0; link < stream.numLinks(); ++link)
        serialNumbers.insert(stream.serialNumber(link));
    return serialNumbers;
}

} // namespace

OggVorbisFile::OggVorbisFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : AudioFile(sampleRate, sampleSize, numChannels)
{
    mCanSaveMetadata = true;
    // Beyond the plain description, which has neither: other programs read both.
    mCanSaveMarkers = true;
    mCanSaveArtwork = true;
}

OggVorbisFile::OggVorbisFile(std::shared_ptr<FileHandle> handle)
    : AudioFile(std::move(handle))
{
    mCanSaveMetadata = true;
    mCanSaveMarkers = true;
    mCanSaveArtwork = true;
    mRequiresConversion = true;
    mDataFormat = vorbisFormat;
}

OggVorbisFile::~OggVorbisFile() = default;

bool OggVorbisFile::validateFileHeader(const FileHandle& handle)
{
    // The library is done with the handle when this returns.
    return VorbisStream::isVorbis({std::shared_ptr<void>(), &handle});
}

std::shared_ptr<AudioFile> OggVorbisFile::open(std::shared_ptr<FileHandle> handle, MaybeError* error)
{
    const auto starts = OggStreams::startsIn(*handle);
    int status = 0;
    auto stream = VorbisStream::open(handle, &status);
    if (!stream) {
        logLine(QStringLiteral("Invalid file. Error %1").arg(status));
        const bool isFlac = OggStreams::startWith(starts, OggStreams::flacStart).has_value();
        if (!starts.empty() && !isFlac && error)
            *error = FileDamage::unreadable(displayName(handle->path()), reasonToRefuse(starts));
        return nullptr;
    }
    const std::shared_ptr<OggVorbisFile> file(new OggVorbisFile(std::move(handle)));
    file->mStream = std::move(stream);
    file->readStream();
    return file;
}

void OggVorbisFile::readStream()
{
    mNumberOfChannels = static_cast<uint32_t>(mStream->numChannels());
    mSampleRate = mStream->sampleRate();
    mBitRate = mStream->bitRate();
    mNominalBitRate = mStream->nominalBitRate();
    mHasManagedBitRate = mStream->hasManagedBitRate();
    mNumberOfFrames = mStream->numFrames();
    const VorbisComments& comments = mStream->comments();
    if (!comments.isEmpty())
        mMetadata.setValuesWithDictionary(comments.dictionary());
    mLedger = oggLedger(*mFileHandle, serialNumbersOf(*mStream));
    mHoldsOneStream = mStream->numLinks() == 1 && holdsOneOggStream(mLedger);
    mMarkers = comments.chapters(mSampleRate);
    const std::optional<OggHeaders> headers = VorbisHeaders::ofFile(*mFileHandle);
    mComments = headers ? VorbisHeaders::commentsOf(headers->packets[1]) : mStream->commentPacket();
    comments.declare(mMetadata, mLedger, Keeping::asBytes);
    declareStartTime(mStream->startSeconds(), mLedger);
    for (int link = 1; link < mStream->numLinks(); ++link)
        mStream->comments(link).declareBeside(comments, mLedger);
}

QString OggVorbisFile::fileFormatUTI() const
{
    return QStringLiteral("org.videolan.ogg-audio");
}

QString OggVorbisFile::encodingDescription() const
{
    return QStringLiteral("Vorbis");
}

std::vector<std::shared_ptr<MutableAudioClip>> OggVorbisFile::convertedAudioClips(Progress& progress,
                                                                                  MaybeError* error)
{
    int status = 0;
    if (!mStream)
        mStream = VorbisStream::open(mFileHandle, &status);
    const std::unique_ptr<VorbisStream> stream = std::move(mStream);
    MaybeError failure;
    std::vector<std::shared_ptr<MutableAudioClip>> clips;
    if (stream) {
        VorbisConversion conversion(*stream);
        tellDecodingDidBegin(conversion.clips(), stream->numFrames());
        failure = conversion.run(progress);
        mNumberOfFrames = conversion.numFrames();
        if (!failure)
            tellWhatDecodingFound(*stream, conversion.isDamaged());
        if (!failure)
            clips = conversion.clips();
    } else {
        failure = FileDamage::unreadable(displayName(filePath()), QStringLiteral("it changed meanwhile"));
    }
    if (failure && error)
        *error = failure;
    return clips;
}

/// A file that promises sound and gives none is opened, empty: its tags may be all that a person is after.
void OggVorbisFile::tellWhatDecodingFound(const VorbisStream& stream, bool isDamaged)
{
    const OggPageCheck check = OggPageCheck::ofFile(*mFileHandle, serialNumbersOf(stream));
    const QString name = displayName(filePath());
    mWarnings.clear();
    const bool isLost = mNumberOfFrames == 0 && check.isSoundPromised;
    if (isDamaged || stream.isBroken() || isLost || check.isPageLost ||
        mNumberOfFrames + longestBlock < stream.numFrames())
        tellOfDamagedSound();
    if (stream.changesFormat())
        mWarnings.append(FileDamage::soundChangesFormat(name));
    else if (!OggStreams::isComplete(*mFileHandle))
        mWarnings.append(FileDamage::soundCutShort(name));
}

std::vector<int> OggVorbisFile::applicableBitRates() const
{
    const double bitsPerSecond = mNumberOfChannels * 8.0 * mSampleRate;
    std::vector<int> applicable;
    std::copy_if(bitRates.begin(), bitRates.end(), std::back_inserter(applicable),
                 [bitsPerSecond](int bitRate) { return bitRate < bitsPerSecond; });
    return applicable;
}

FileOptions OggVorbisFile::fileOptions() const
{
    FileOptions options{QStringLiteral("Quality:"), {}, recommendedTag};
    options.items.push_back({0, QStringLiteral("Variable Bit Rate:"), false});
    for (int tag = highestQualityTag; tag >= lowestQualityTag; --tag) {
        QString title = QString::number(tag - lowestQualityTag + 1);
        if (tag == highestQualityTag)
            title += QStringLiteral(" (best quality)");
        else if (tag == recommendedTag)
            title += QStringLiteral(" (recommended)");
        else if (tag == lowestQualityTag)
            title += QStringLiteral(" (smallest files)");
        options.items.push_back({tag, title});
    }
    options.items.push_back({0, QStringLiteral("Average Bit Rate:"), false});
    for (const int bitRate : applicableBitRates())
        options.items.push_back({bitRate, QStringLiteral("%1 kbps").arg(bitRate / 1000)});
    const int tag = openedVorbisFile() ? openedVorbisFile()->tagOfEncoding() : recommendedTag;
    if (std::ranges::find(options.items, tag, &FileOption::tag) != options.items.end())
        options.selectedTag = tag;
    return options;
}

double OggVorbisFile::estimatedFileSizeWithTag(int tag) const
{
    if (tag < lowestBitRateTag)
        return -1.0;
    return tag * 0.125 * (static_cast<double>(mNumberOfFrames) / mSampleRate);
}

void OggVorbisFile::configureWithPopUpTag(int tag)
{
    if (tag >= lowestQualityTag && tag <= highestQualityTag) {
        mEncodingQuality = settingsOfQuality(tag).quality + 1.0F;
        mBitRate = 0;
        mIsOptionChosen = true;
    } else if (tag >= lowestBitRateTag && tag <= highestBitRateTag) {
        mEncodingQuality = 0.0F;
        mBitRate = tag;
        mIsOptionChosen = true;
    }
}

MetadataDictionary OggVorbisFile::writtenTags() const
{
    return VorbisCommentEdit::tagsOf(commentsToWrite().entries());
}

/// The file whose comments this one gets, with what was changed; null for a new file.
const OggVorbisFile* OggVorbisFile::editedFile() const
{
    return dynamic_cast<const OggVorbisFile*>(keptSound() ? keptSound().get() : openedFile().get());
}

bool OggVorbisFile::canSavePicture(const AttachedPicture& picture) const
{
    return PictureBlock::pictureOf(PictureBlock::blockOf(picture)).has_value();
}

QStringList OggVorbisFile::soundLosses() const
{
    QStringList losses = keptSound() ? QStringList() : surroundLosses(mNumberOfChannels, false);
    const OggVorbisFile* const edited = editedFile();
    const QList<QByteArray> before = edited ? edited->mComments.entries() : QList<QByteArray>();
    if (const QString loss = VorbisChapters::lossOf(before, mMarkers, mSampleRate); !loss.isEmpty())
        losses += loss;
    return losses;
}

VorbisCommentPacket OggVorbisFile::commentsToWrite() const
{
    const OggVorbisFile* const edited = editedFile();
    VorbisCommentPacket comments;
    if (edited)
        comments = edited->mComments;
    else
        comments.setEntries({"ENCODER=" + VorbisEncoder::encoderName()});
    comments.setTags(mMetadata.dictionary());
    comments.setEntries(VorbisChapters::edited(comments.entries(), mMarkers, mSampleRate));
    comments.changePictures(PictureBlock::changes(comments.pictureBlocks(), mMetadata.artwork()));
    return comments;
}

int64_t OggVorbisFile::maximumNumberOfMarkers() const
{
    return VorbisChapters::mostChapters;
}

bool OggVorbisFile::willWrite(const FileItem& item) const
{
    return item.keeping == Keeping::asBytes ? editedFile() != nullptr : AudioFile::willWrite(item);
}

void OggVorbisFile::validateAndCorrectParameters()
{
    // What it was is nearer to what its owner wants than the average that came out.
    if (const OggVorbisFile* const opened = mIsOptionChosen ? nullptr : openedVorbisFile()) {
        configureWithPopUpTag(opened->tagOfEncoding());
        mIsOptionChosen = false;
    }
    // The rate may be that of the file that the sound was read from, and not one of Vorbis.
    if (!mIsOptionChosen && mBitRate >= lowestBitRateTag && !VorbisEncoder::canEncode(settings()))
        mBitRate = 0;
    if (mBitRate == 0 && mEncodingQuality == 0.0F)
        mEncodingQuality = recommendedQuality;
}

const OggVorbisFile* OggVorbisFile::openedVorbisFile() const
{
    return dynamic_cast<const OggVorbisFile*>(openedFile().get());
}

/// The option that comes nearest to how an opened file was encoded, or the one that this file was written
/// with.
int OggVorbisFile::tagOfEncoding() const
{
    if (mEncodingQuality > 0.0F) {
        const auto tenths = static_cast<int>(std::lround((mEncodingQuality - 1.0F) * 10.0F));
        return std::clamp(lowestQualityTag + tenths - 1, lowestQualityTag, highestQualityTag);
    }
    const int64_t bitRate = mNominalBitRate > 0 ? mNominalBitRate : mBitRate;
    const std::vector<int> applicable = applicableBitRates();
    const bool isOption = std::find(applicable.begin(), applicable.end(), bitRate) != applicable.end();
    const bool isManaged = mHasManagedBitRate || mNominalBitRate == 0;
    return isManaged && isOption ? static_cast<int>(bitRate) : tagNearestTo(bitRate);
}

/// Of a quality.
int OggVorbisFile::tagNearestTo(int64_t nominalBitRate) const
{
    int nearest = recommendedTag;
    int64_t leastDifference = std::numeric_limits<int64_t>::max();
    for (int tag = lowestQualityTag; nominalBitRate > 0 && tag <= highestQualityTag; ++tag) {
        const int64_t difference =
            std::abs(VorbisEncoder::nominalBitRate(settingsOfQuality(tag)) - nominalBitRate);
        if (difference < leastDifference)
            nearest = tag;
        leastDifference = std::min(leastDifference, difference);
    }
    return nearest;
}

VorbisSettings OggVorbisFile::settingsOfQuality(int tag) const
{
    VorbisSettings settings;
    settings.numChannels = static_cast<int32_t>(mNumberOfChannels);
    settings.sampleRate = static_cast<int>(std::clamp(std::round(mSampleRate), 0.0, highestRate));
    settings.quality = static_cast<float>(tag - lowestQualityTag + 1) / 10.0F;
    return settings;
}

VorbisSettings OggVorbisFile::settings() const
{
    VorbisSettings settings = settingsOfQuality(recommendedTag);
    if (mBitRate >= lowestBitRateTag)
        settings.bitRate = mBitRate;
    else
        settings.quality = (mEncodingQuality < lowestQuality ? recommendedQuality : mEncodingQuality) - 1.0F;
    return settings;
}

MaybeError OggVorbisFile::writeRange(const FrameSource& document, const SaveRange& range, Progress& progress)
{
    mComments = commentsToWrite();
    mComments.setEncoder(VorbisEncoder::encoderName());
    VorbisEncoder encoder(mFileHandle, settings(), oggSerialNumber(document, range, mComments.text()));
    if (MaybeError error = encoder.start(mComments))
        return error;
    FrameFeed feed(document, range);
    const MaybeError error = feed.run(
        [&encoder](std::span<const float> interleaved) { return encoder.encode(interleaved); }, progress);
    const MaybeError finishError = encoder.finish();
    return error ? error : finishError;
}

bool OggVorbisFile::takeSound(const AudioFile& source)
{
    const auto* const opened = dynamic_cast<const OggVorbisFile*>(&source);
    if (!opened || !opened->mHoldsOneStream ||
        (mIsOptionChosen && tagOfEncoding() != opened->tagOfEncoding()))
        return false;
    const std::optional<OggHeaders> headers = VorbisHeaders::ofFile(*opened->fileHandle());
    if (!headers)
        return false;
    mEncodingQuality = opened->mEncodingQuality;
    mNominalBitRate = opened->mNominalBitRate;
    mHasManagedBitRate = opened->mHasManagedBitRate;
    mHoldsOneStream = true;
    return true;
}

MaybeError OggVorbisFile::writeKeptSound(Progress& progress)
{
    const FileHandle& source = *keptSound()->fileHandle();
    const std::optional<OggHeaders> headers = VorbisHeaders::ofFile(source);
    if (!headers)
        return missedReadsError(source);
    mComments = commentsToWrite();
    QList<QByteArray> packets = headers->packets;
    packets[1] = VorbisHeaders::packetOf(mComments);
    return writeOggWithHeaders(source, *headers, packets, *fileHandle(), progress);
}

} // namespace velloria
