#include "formats/flac/FLACFile.h"

#include "formats/decoding/FileDamage.h"
#include "formats/file/StartTime.h"
#include "formats/flac/FlacConversion.h"
#include "formats/flac/FlacEncoder.h"
#include "formats/flac/FlacInOgg.h"
#include "formats/flac/FlacLedger.h"
#include "formats/flac/FlacMetadataEdit.h"
#include "formats/ogg/OggHeaderEdit.h"
#include "formats/ogg/OggLedger.h"
#include "formats/ogg/OggSerialNumber.h"
#include "formats/ogg/OggStreams.h"
#include "formats/saving/IntegerFeed.h"
#include "platform/Log.h"
#include "platform/MissedReads.h"

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
// Eight blocks of the file: handing them over costs nothing then, and cancelling is still heard at once.
constexpr int64_t framesPerPass = int64_t{8} * 4096;
// Bytes of a file against those of its samples, for each bit of the sample size: what music comes to.
constexpr double estimatedRatioPerBit = 0.03245192308;

} // namespace

FLACFile::FLACFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : AudioFile(sampleRate, sampleSize, numChannels)
{
    mCanSaveMetadata = true;
}

FLACFile::FLACFile(std::shared_ptr<FileHandle> handle)
    : AudioFile(std::move(handle))
{
    mCanSaveMetadata = true;
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
    description.comments.declare(mMetadata, mLedger);
    mExtras = description.extras;
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
    return VorbisComments::tagsThrough(mMetadata);
}

void FLACFile::validateAndCorrectParameters()
{
    AudioFile::validateAndCorrectParameters();
    mBitsPerSample = std::clamp(mBitsPerSample, narrowestSample, widestSample);
    setInOgg(isInOgg());
}

/// What the opened file has of them it gets again.
FlacExtras FLACFile::extrasOfOpened() const
{
    const auto* const opened = dynamic_cast<const FLACFile*>(openedFile().get());
    return opened ? opened->mExtras : FlacExtras();
}

MaybeError FLACFile::writeRange(const FrameSource& document, const SaveRange& range, Progress& progress)
{
    const FlacFormat format = {static_cast<uint32_t>(std::clamp(std::round(mSampleRate), 0.0, highestRate)),
                               mNumberOfChannels, mBitsPerSample};
    setInOgg(shouldBeInOgg());
    const auto comments = VorbisComments::entriesOf(mMetadata.dictionary());
    std::optional<int> serialNumber;
    if (isInOgg())
        serialNumber = oggSerialNumber(document, range, VorbisComments::textOf(comments));
    FlacEncoder encoder(mFileHandle, format, range.numFrames, serialNumber);
    mExtras = extrasOfOpened();
    if (MaybeError error = encoder.start(comments, mExtras))
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
    int64_t numPictures = 0;
    if (opened->isInOgg()) {
        const std::optional<OggHeaders> headers = FlacInOgg::headersOf(handle);
        if (!headers || !holdsOneOggStream(opened->ledger()))
            return false;
        numPictures = FlacInOgg::numPictures(*headers);
    } else {
        const FlacLayout layout = FlacLayout::ofFile(handle);
        if (!layout.isWhole)
            return false;
        if (!opened->metadata().artwork().isEmpty())
            numPictures = FlacMetadataEdit::numPictures(FlacMetadataEdit::blocksOf(handle, layout));
    }
    keepPictures(source, numPictures);
    mExtras = opened->mExtras;
    return true;
}

MaybeError FLACFile::writeKeptSound(Progress& progress)
{
    const auto tags = VorbisComments::entriesOf(mMetadata.dictionary());
    return isInOgg() ? writeKeptPages(tags, progress) : writeKeptFrames(tags, progress);
}

MaybeError FLACFile::writeKeptPages(const QList<VorbisComments::Entry>& tags, Progress& progress)
{
    const FileHandle& source = *keptSound()->fileHandle();
    const std::optional<OggHeaders> headers = FlacInOgg::headersOf(source);
    if (!headers)
        return missedReadsError(source);
    const auto packets = FlacInOgg::withTags(*headers, tags, mCanSaveArtwork);
    return packets ? writeOggWithHeaders(source, *headers, *packets, *fileHandle(), progress)
                   : MaybeError(FlacMetadataEdit::tagsTooLong());
}

MaybeError FLACFile::writeKeptFrames(const QList<VorbisComments::Entry>& tags, Progress& progress)
{
    const FileHandle& source = *keptSound()->fileHandle();
    const FlacLayout layout = FlacLayout::ofFile(source);
    std::vector<FlacMetadataEdit::Block> blocks = FlacMetadataEdit::blocksOf(source, layout);
    if (!layout.isWhole || blocks.size() < layout.blocks.size())
        return missedReadsError(source);
    // The description comes first, and nearly every program puts the tags next.
    if (!FlacMetadataEdit::setTags(blocks, 1, tags, mCanSaveArtwork))
        return FlacMetadataEdit::tagsTooLong();
    QByteArray metadata("fLaC");
    for (const FlacMetadataEdit::Block& block : blocks)
        metadata += FlacMetadataEdit::bytesOf(block, &block == &blocks.back());
    if (MaybeError error = writeRawData(metadata, 0))
        return error;
    mSoundDataOffset = metadata.size();
    return copyKeptBytes(layout.sound, mSoundDataOffset, progress);
}

} // namespace velloria
