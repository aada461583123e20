#include "formats/mpeg4/Mpeg4File.h"

#include "formats/decoding/FileDamage.h"
#include "formats/decoding/VLAudioFileDecompressor.h"
#include "formats/mpeg4/Mpeg4AACFile.h"
#include "formats/mpeg4/Mpeg4AppleLosslessFile.h"
#include "formats/mpeg4/Mpeg4Chapters.h"
#include "formats/mpeg4/Mpeg4FileLedger.h"
#include "formats/mpeg4/Mpeg4Movie.h"
#include "formats/mpeg4/Mpeg4Splice.h"
#include "formats/mpeg4/Mpeg4Tags.h"
#include "platform/FileReplacer.h"
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

Error changedMeanwhile(const FileHandle& film)
{
    return {
        Error::Code::readFailed,
        QStringLiteral("“%1” was changed by another program since it was opened; its other tracks cannot be "
                       "carried over.")
            .arg(displayName(film.path()))};
}

bool areEqual(const MarkerList& a, const MarkerList& b)
{
    static const std::vector<AudioMarkerPtr> none;
    return std::ranges::equal(a ? *a : none, b ? *b : none, [](const auto& left, const auto& right) {
        return left->position() == right->position() && left->name() == right->name();
    });
}

} // namespace

Mpeg4File::Mpeg4File(double sampleRate, uint32_t sampleSize, uint32_t numChannels, FourCharCode writtenFormat)
    : DecodedFile(sampleRate, sampleSize, numChannels)
    , mWrittenFormat(writtenFormat)
{
    mDataFormat = writtenFormat;
    mCanSaveMarkers = true;
    mCanSaveMetadata = true;
    mCanSaveArtwork = true;
}

Mpeg4File::Mpeg4File(std::shared_ptr<FileHandle> handle, FourCharCode writtenFormat)
    : DecodedFile(std::move(handle))
    , mWrittenFormat(writtenFormat)
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
    file->readTables(*decoder);
    file->takeDecoder(std::move(decoder));
    file->tellOfEncoding();
    return file;
}

/// Tags, chapters, and the account of everything else.
void Mpeg4File::readTables(const VLAudioFileDecompressor& decoder)
{
    Mpeg4Tags::read(*fileHandle(), mMetadata);
    readAccount(decoder);
    mMarkers = markersOfFile(mSound.sampleRate);
}

void Mpeg4File::readAccount(const VLAudioFileDecompressor& decoder)
{
    const FileHandle& handle = *fileHandle();
    const Mpeg4Layout layout(handle);
    mSound = {decoder.trackID(), decoder.sampleRate(), decoder.numberOfPrimingFrames(),
              decoder.numberOfFramesInPackets()};
    mStartFrames = Mpeg4Splice::startFrames(layout, mSound);
    mObstacle = Mpeg4Splice::obstacle(layout, mSound);
    mCanKeepSound = Mpeg4Splice::canKeepSound(layout, mSound);
    mCanHaveLength = Mpeg4Splice::canHaveLength(layout, mSound);
    mChapterTrackID = Mpeg4Chapters::trackID(layout.movie());
    mHasOtherTracks =
        std::any_of(layout.tracks.begin(), layout.tracks.end(), [this](const Mpeg4Track& track) {
            return track.id != mSound.trackID && track.id != mChapterTrackID;
        });
    const QByteArray brand = handle.readAt(0, 12);
    mIsQuickTime =
        !brand.sliced(std::min<qsizetype>(4, brand.size())).startsWith("ftyp") || brand.endsWith("qt  ");
    AudioMetadata metadata;
    Mpeg4Tags::read(handle, metadata);
    Mpeg4Account account = mpeg4Account(
        handle, layout, {mSound.trackID, mChapterTrackID, Mpeg4Tags::alteredValues(handle, metadata)});
    mLedger = std::move(account.ledger);
    declarePriming(decoder, mLedger);
    mBoundItems = std::move(account.boundItems);
}

MarkerList Mpeg4File::markersOfFile(double sampleRate) const
{
    const double scale = mSound.sampleRate > 0.0 ? sampleRate / mSound.sampleRate : 1.0;
    return Mpeg4Chapters::read(*fileHandle(), sampleRate, mStartFrames * scale);
}

void Mpeg4File::tellOfEncoding()
{
    if (!isAac(mDataFormat) && mDataFormat != DataFormat::kAppleLossless)
        mWarnings.append(
            QStringLiteral("“%1” holds sound that is not AAC (%2); what is edited in it is saved as AAC.")
                .arg(displayName(filePath()), encodingDescription()));
}

/// What was saved is what the next save of the document may carry over.
void Mpeg4File::takeOverLedger()
{
    AudioFile::takeOverLedger();
    const FileLedger kept = mLedger;
    mCanKeepSound = false;
    const auto decoder = VLAudioFileDecompressor::forReadingFile(fileHandle(), fileFormatUTI(), nullptr);
    mObstacle = QStringLiteral("it cannot be read");
    if (!decoder)
        return;
    readAccount(*decoder);
    for (const FileItem& item : kept.items()) {
        if (item.keeping == Keeping::withSound)
            mLedger.add(item);
    }
    if (mWrittenPriming && *mWrittenPriming != mSound.primingFrames) {
        mSound.primingFrames = *mWrittenPriming;
        mStartFrames = Mpeg4Splice::startFrames(Mpeg4Layout(*fileHandle()), mSound);
    }
}

/// The opened file, when this one is to be a copy of it with new sound: its other tracks keep their times, so
/// where there are some the sound must last as long as it did. A name that says that there is sound only
/// (.m4a) gets sound only.
const Mpeg4File* Mpeg4File::carriedFile() const
{
    if (keptSound())
        return dynamic_cast<const Mpeg4File*>(keptSound().get());
    const auto* const opened = dynamic_cast<const Mpeg4File*>(openedFile().get());
    if (!opened || !opened->mObstacle.isEmpty() || opened->mSound.trackID == 0)
        return nullptr;
    const bool fits = opened->mCanHaveLength || isAsLongAs(*opened);
    return fits && !isExtractOf(*opened) ? opened : nullptr;
}

bool Mpeg4File::isAsLongAs(const Mpeg4File& opened) const
{
    const double seconds = static_cast<double>(mNumberOfFrames) / mSampleRate;
    const double openedSeconds = static_cast<double>(opened.numberOfFrames()) / opened.sampleRate();
    const double tick = 1.0 / std::min(mSampleRate, opened.sampleRate());
    return std::abs(seconds - openedSeconds) < tick;
}

bool Mpeg4File::isExtractOf(const Mpeg4File& opened) const
{
    const auto isSoundName = [](const std::filesystem::path& path) {
        return displayName(path).endsWith(QStringLiteral(".m4a"), Qt::CaseInsensitive);
    };
    return opened.mHasOtherTracks && isSoundName(filePath()) && !isSoundName(opened.filePath());
}

bool Mpeg4File::willWrite(const FileItem& item) const
{
    if (item.keeping != Keeping::asBytes)
        return AudioFile::willWrite(item);
    const auto* const opened = dynamic_cast<const Mpeg4File*>(openedFile().get());
    if (!opened)
        return AudioFile::willWrite(item);
    const bool isCarried = carriedFile() != nullptr;
    const auto bound = opened->mBoundItems.find(item.bytes.offset);
    if (bound == opened->mBoundItems.end())
        return isCarried;
    const QString& key = bound->second.key;
    const bool isReplaced = mMetadata.dictionary().value(key) != opened->metadata().dictionary().value(key);
    switch (bound->second.bond) {
    case Mpeg4BoundItem::Bond::wording:
        return isCarried || isReplaced;
    case Mpeg4BoundItem::Bond::value:
        return isCarried && !isReplaced;
    case Mpeg4BoundItem::Bond::key:
        break;
    }
    return isCarried && (!isReplaced || mMetadata.dictionary().contains(key));
}

void Mpeg4File::validateAndCorrectParameters()
{
    DecodedFile::validateAndCorrectParameters();
    mDataFormat = mWrittenFormat;
}

MetadataDictionary Mpeg4File::writtenTags() const
{
    return Mpeg4Tags::tagsThrough(mMetadata);
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
    format.setFormat(mWrittenFormat);
    const bool isLossless = mWrittenFormat == DataFormat::kAppleLossless;
    format.audioStreamBasicDescription().formatFlags = isLossless ? appleLosslessFlags(mBitsPerSample) : 0;
    format.useAudioFormatToValidateDescription();
    return format;
}

MaybeError Mpeg4File::writeRange(const FrameSource& document, const SaveRange& range, Progress& progress)
{
    if (range.numFrames == 0)
        return FileDamage::noSoundToSave(displayTypeName());
    const Mpeg4File* const opened = carriedFile();
    return opened ? writeIntoCopy(*opened, document, range, progress)
                  : writeNewFile(document, range, progress);
}

/// With packets of the opened file where `seams` is not null.
MaybeError Mpeg4File::writeSound(const FrameSource& document, const SaveRange& range,
                                 const PacketSaver::Options& options, Mpeg4Seams* seams,
                                 ContainerWriter& container, PacketTable& table, Progress& progress)
{
    if (seams) {
        table = seams->packetTable();
        return seams->write(document, range, container, progress);
    }
    PacketSaver saver(document, range, options);
    if (MaybeError error = saver.run(container, progress))
        return error;
    table = saver.packetTable();
    return std::nullopt;
}

MaybeError Mpeg4File::writeNewFile(const FrameSource& document, const SaveRange& range, Progress& progress)
{
    Mpeg4Extras extras;
    extras.markers = mMarkers;
    extras.sampleRate = static_cast<uint32_t>(std::lround(mSampleRate));
    extras.numFrames = range.numFrames;
    const QByteArray gapless = isAac(mWrittenFormat) ? gaplessTag({range.numFrames, 0, 0}) : QByteArray();
    extras.meta = Mpeg4Tags::box(mMetadata, gapless);
    const std::unique_ptr<Mpeg4Seams> seams = planSeams(range.numFrames);
    ContainerWriter container(fileHandle(), ContainerType::kMpeg4,
                              {range.numFrames, extras.numBytes() + (seams ? seams->numTableBytes() : 0)});
    extras.meta.clear();
    PacketTable table;
    if (MaybeError error =
            writeSound(document, range, {fileDataFormat(), isAac(mWrittenFormat) ? mBitRate : 0}, seams.get(),
                       container, table, progress))
        return error;
    extras.meta = Mpeg4Tags::box(mMetadata, gapless.isEmpty() ? gapless : gaplessTag(table));
    return putIntoMpeg4File(*fileHandle(), extras);
}

/// The sound goes to a file without a name beside the target first: only then is known how large it is, and
/// so where everything else stands.
MaybeError Mpeg4File::writeIntoCopy(const Mpeg4File& opened, const FrameSource& document,
                                    const SaveRange& range, Progress& progress)
{
    const FileHandle& film = *opened.fileHandle();
    const Mpeg4Layout layout(film);
    if (film.hasChangedOnDisk() || !Mpeg4Splice::obstacle(layout, opened.mSound).isEmpty())
        return changedMeanwhile(film);
    MaybeError error;
    const std::unique_ptr<FileReplacer> scratch = FileReplacer::create(filePath(), &error);
    if (!scratch)
        return error;
    const Mpeg4Track& track = *layout.track(opened.mSound.trackID);
    const int64_t priming = Mpeg4SoundTrack::leastPrimingFrames(track, opened.mSound, mSampleRate);
    const std::unique_ptr<Mpeg4Seams> seams = planSeams(range.numFrames);
    const bool usesSeams = seams && seams->packetTable().primingFrames >= priming;
    ContainerWriter container(scratch->handle(),
                              opened.mIsQuickTime ? ContainerType::kQuickTime : ContainerType::kMpeg4,
                              {range.numFrames, usesSeams ? seams->numTableBytes() : 0});
    PacketTable table;
    error = writeSound(document, range, {fileDataFormat(), isAac(mWrittenFormat) ? mBitRate : 0, priming},
                       usesSeams ? seams.get() : nullptr, container, table, progress);
    return error ? error : writeCopy(opened, layout, scratch->handle().get(), table, progress);
}

/// The opened file with other tags and chapters, and new sound unless that is null.
MaybeError Mpeg4File::writeCopy(const Mpeg4File& opened, const Mpeg4Layout& layout, const FileHandle* sound,
                                const PacketTable& table, Progress& progress)
{
    const FileHandle& film = *opened.fileHandle();
    mWrittenPriming = table.primingFrames;
    Mpeg4Splice::Options options;
    options.opened = opened.mSound;
    options.table = table;
    AudioMetadata tagsOfFile;
    Mpeg4Tags::read(film, tagsOfFile);
    const Mpeg4MovieEdit::Tags tags{
        tagsOfFile, mMetadata, sound && isAac(mWrittenFormat) ? gaplessTag(table) : QByteArray(), !sound};
    if (tagsOfFile != mMetadata || (sound && Mpeg4MovieEdit::hasGaplessText(layout.movie())))
        options.tags = &tags;
    options.sampleRate = static_cast<uint32_t>(std::lround(mSampleRate));
    options.markers = mMarkers;
    options.hasNewLength = sound && !isAsLongAs(opened);
    options.hasNewChapters = options.hasNewLength || !areEqual(mMarkers, opened.markersOfFile(mSampleRate));
    options.oldChapterTrackID = opened.mChapterTrackID;
    MaybeError error = Mpeg4Splice(film, layout, sound, options).write(*fileHandle(), progress);
    return !error && film.hasChangedOnDisk() ? changedMeanwhile(film) : error;
}

/// Sound that is extracted from a film goes to a new file.
bool Mpeg4File::takeSound(const AudioFile& source)
{
    const auto* const opened = dynamic_cast<const Mpeg4File*>(&source);
    if (!opened || opened->mWrittenFormat != mWrittenFormat || !opened->mCanKeepSound ||
        isExtractOf(*opened) || !isConfiguredLike(*opened))
        return false;
    mBitsPerSample = opened->mBitsPerSample;
    return true;
}

MaybeError Mpeg4File::writeKeptSound(Progress& progress)
{
    const auto* const opened = dynamic_cast<const Mpeg4File*>(keptSound().get());
    const Mpeg4Layout layout(*opened->fileHandle());
    if (!Mpeg4Splice::canKeepSound(layout, opened->mSound))
        return changedMeanwhile(*opened->fileHandle());
    PacketTable table;
    table.primingFrames = opened->mSound.primingFrames;
    table.numberOfValidFrames = mNumberOfFrames;
    return writeCopy(*opened, layout, nullptr, table, progress);
}

} // namespace velloria
