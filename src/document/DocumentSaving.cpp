#include "document/SoundDocument.h"

#include "document/BroadcastChunks.h"
#include "document/clips/SourceWatch.h"
#include "formats/AudioFileRegistry.h"
#include "formats/saving/SaveLoop.h"
#include "platform/FileReplacer.h"
#include "platform/Log.h"
#include "platform/MissedReads.h"
#include "platform/UserDefaults.h"

#include <algorithm>
#include <chrono>
#include <future>

namespace velloria
{

namespace
{

constexpr std::chrono::milliseconds kProgressInterval(50);

/// The sentence alone would leave a person without anything to do about it, so the reason follows.
Error notSaved(const QString& reason)
{
    logLine(QStringLiteral("-[SoundDocument writeToURL:...] Could not save."));
    return {Error::Code::failed, QStringLiteral("Document was not saved: %1").arg(reason)};
}

/// Has the new file written to disk, which can take seconds, on another thread, while the progress face goes
/// on painting and hearing Cancel on this one.
MaybeError flushWithProgress(FileReplacer& replacer, Progress& progress)
{
    const double fraction = progress.targetValue() > 0 ? static_cast<double>(progress.markValue()) /
                                                             static_cast<double>(progress.targetValue())
                                                       : 1.0;
    std::future<MaybeError> flushed =
        std::async(std::launch::async, [&replacer] { return replacer.flush(); });
    bool isCancelled = false;
    while (flushed.wait_for(kProgressInterval) != std::future_status::ready) {
        progress.setProgressValue(std::min(fraction, 1.0));
        isCancelled = isCancelled || progress.isCancelled();
    }
    MaybeError error = flushed.get();
    return isCancelled ? Error::cancelled() : error;
}

/// Through whatever links. Two names of a hard link lead to two files as soon as one is saved.
bool leadToOneFile(const std::filesystem::path& a, const std::filesystem::path& b)
{
    std::error_code failure;
    const std::filesystem::path plain = std::filesystem::weakly_canonical(a, failure);
    return !failure && plain == std::filesystem::weakly_canonical(b, failure) && !failure;
}

} // namespace

std::shared_ptr<AudioFile> SoundDocument::configuredWriter(const SaveRequest& request) const
{
    std::shared_ptr<AudioFile> writer = AudioFileRegistry::audioFileWithUTI(
        request.uti, sampleRate(), static_cast<uint32_t>(mSampleSize), static_cast<uint32_t>(trackCount()));
    if (!writer)
        return nullptr;
    writer->setFilePath(request.path);
    if (request.selection)
        writer->setNumberOfChannels(static_cast<uint32_t>(request.selection->numTracks));
    else {
        writer->setMarkers(audioMarkers());
        writer->setOpenedFile(mAudioFile);
    }
    writer->setNumberOfFrames(request.selection ? frameAtTime(request.selection->duration(), sampleRate())
                                                : numberOfFrames());
    AudioMetadata metadata = request.metadata.value_or(mAudioMetadata);
    if (mAudioFile && !metadata.waveBWFChunks().isEmpty())
        metadata.setWaveBWFChunks(
            BroadcastChunks::forSaving(*this, request.selection, metadata.waveBWFChunks(), *mAudioFile)
                .chunks);
    writer->setMetadata(metadata);
    writer->setBitRate(mBitRate);
    writer->setBitsPerSample(static_cast<uint32_t>(mSampleSize));
    writer->setDataFormat(mAudioDataFormat);
    if (const int tag = optionTagFor(request); tag != 0)
        writer->configureWithPopUpTag(tag);
    writer->validateAndCorrectParameters();
    offerPackets(*writer, request);
    return writer;
}

SeamMode SoundDocument::seamMode(const SaveRequest& request)
{
    const QVariant preferred = UserDefaults::standard().value(copyPacketsKey);
    const bool isCopying = !preferred.isValid() || preferred.toBool();
    return request.seams.value_or(isCopying ? SeamMode::exact : SeamMode::none);
}

/// Offers the file whose packets hold what the request saves, all of it or some. One that was changed since
/// it was opened holds it no more: what was decoded of it is encoded then.
void SoundDocument::offerPackets(AudioFile& writer, const SaveRequest& request) const
{
    const std::shared_ptr<const AudioFile>& file = mOpenedSound.file();
    const SeamMode mode = seamMode(request);
    if (mode == SeamMode::none || !file || request.takesWhatIsLeft || !file->fileHandle() ||
        file->fileHandle()->hasChangedOnDisk())
        return;
    if (!request.selection && mOpenedSound.isWholeIn(*audioTracks(), sampleRate()))
        writer.offerSound(file);
    writer.offerPieces(file, untouchedPieces(request), mode);
}

SoundPieces SoundDocument::untouchedPieces(const SaveRequest& request) const
{
    const SaveRange range = request.selection
                                ? SaveRange::ofSelection(*this, *request.selection)
                                : SaveRange::ofDocument(*this, static_cast<uint32_t>(trackCount()));
    if (range.firstTrack != 0 || range.numTracks != trackCount())
        return {};
    return mOpenedSound.piecesIn(*audioTracks(), sampleRate(), range.startFrame, range.numFrames);
}

int SoundDocument::optionTagFor(const SaveRequest& request) const
{
    if (request.optionTag != 0)
        return request.optionTag;
    return request.uti == mFileTypeUTI ? mFileOptionTag : 0;
}

FileOptions SoundDocument::fileOptions(const SaveRequest& request) const
{
    const std::shared_ptr<AudioFile> writer = configuredWriter(request);
    if (!writer)
        return {};
    FileOptions options = writer->fileOptions();
    int64_t tag = optionTagFor(request);
    // A type may choose a recommendation before what the opened file has.
    if (tag == 0 && request.uti == mFileTypeUTI)
        tag = mBitRate;
    if (std::any_of(options.items.begin(), options.items.end(),
                    [tag](const FileOption& item) { return item.isEnabled && item.tag == tag; }))
        options.selectedTag = static_cast<int>(tag);
    return options;
}

double SoundDocument::estimatedFileSize(const SaveRequest& request) const
{
    const std::shared_ptr<AudioFile> writer = configuredWriter(request);
    return writer ? writer->estimatedFileSizeWithTag(optionTagFor(request)) : -1.0;
}

MaybeError SoundDocument::writeToPath(const SaveRequest& request, Progress& progress)
{
    if (request.selection && (request.selection->firstTrack < 0 || request.selection->numTracks < 1 ||
                              request.selection->numTracks > trackCount() - request.selection->firstTrack))
        return notSaved(QStringLiteral("the selection holds no tracks."));
    const int64_t numMissedReads = mOpenedSound.numMissedReads();
    const std::shared_ptr<AudioFile> writer = configuredWriter(request);
    if (!writer)
        return notSaved(QStringLiteral("files of the type “%1” cannot be written.").arg(request.uti));
    mSaveWarnings.clear();
    if (MaybeError error = refusalToSave(request))
        return error;
    // Packets that could not be looked at would be encoded anew, and nobody told of that.
    if (mOpenedSound.numMissedReads() != numMissedReads)
        return missedReadsError(*mOpenedSound.file()->fileHandle());
    const bool replacesOwnFile = !request.selection && !request.metadata && request.uti == mFileTypeUTI &&
                                 leadToOneFile(request.path, mFilePath);
    if (MaybeError error = writeWithWriter(writer, request, progress))
        return error;
    if (const QString loss = lossesWhileComputing(*writer); !loss.isEmpty())
        mSaveWarnings += loss;
    if (const QString loss = lossOfChangedSource(*writer); !loss.isEmpty())
        mSaveWarnings += loss;
    if (request.operation != SaveOperation::saveTo) {
        adoptWriter(writer, request);
    } else if (replacesOwnFile) {
        // The document's own file is another one now, which the next save must not take for somebody else's.
        SaveRequest own = request;
        own.path = mFilePath;
        adoptWriter(writer, own);
    }
    return std::nullopt;
}

/// The losses that were told before may not have known of the change.
QString SoundDocument::lossOfChangedSource(const AudioFile& writer) const
{
    const std::shared_ptr<const AudioFile>& file = mOpenedSound.file();
    if (!file || file != mAudioFile || !file->fileHandle() || writer.keptSound() || writer.piecesSource() ||
        !writer.encodesWithLoss() || writer.fileFormatUTI() != file->fileFormatUTI() ||
        !file->fileHandle()->hasChangedOnDisk() ||
        mOpenedSound.piecesIn(*audioTracks(), sampleRate(), 0, numberOfFrames()).empty())
        return {};
    return QStringLiteral("“%1” was changed by another program since it was opened; its packets were not "
                          "copied, and the sound was encoded once more.")
        .arg(velloria::displayName(file->filePath()));
}

MaybeError SoundDocument::writeWithWriter(const std::shared_ptr<AudioFile>& writer,
                                          const SaveRequest& request, Progress& progress)
{
    const SourceWatch watch = watchSources(*writer, request);
    MaybeError error;
    const std::unique_ptr<FileReplacer> replacer = FileReplacer::create(request.path, &error);
    if (!replacer)
        return error ? error : notSaved(displayPath(request.path));
    writer->setFileHandle(replacer->handle());
    // Someone who saves several pieces under one progress bar has set the target already.
    if (progress.targetValue() == 0)
        progress.setTargetValue(writer->numberOfFrames());
    const SoundSelection* selection = request.selection ? &*request.selection : nullptr;
    if (!writer->saveDocument(*this, selection, progress, &error))
        return error ? error : notSaved(QStringLiteral("writing failed."));
    if ((error = errorWhileComputing()))
        return error;
    if ((error = flushWithProgress(*replacer, progress)))
        return error;
    // Everything was read by now, so what changes from here on is of no matter to this save.
    if (MaybeError change = watch.error()) {
        if (!request.takesWhatIsLeft)
            return change;
        mSaveWarnings += QStringLiteral("%1 There is silence where sound is missing.").arg(change->message);
    }
    if (request.willReplace)
        request.willReplace();
    error = replacer->commit();
    mSaveWarnings += replacer->warnings();
    return error;
}

MaybeError SoundDocument::refusalToSave(const SaveRequest& request) const
{
    const std::shared_ptr<AudioFile> writer = configuredWriter(request);
    if (!writer)
        return std::nullopt;
    if (writer->numberOfChannels() > writer->maximumNumberOfChannels())
        return Error{
            Error::Code::unsupported,
            QStringLiteral("This format holds at most %1 channels.").arg(writer->maximumNumberOfChannels())};
    if (mAudioFile && mAudioFile->fileHandle() && mAudioFile->fileHandle()->isAt(request.path)) {
        if (MaybeError error = writer->refusalToReplace(*mAudioFile))
            return error;
    }
    if (MaybeError error = watchSources(*writer, request).error(); error && !request.takesWhatIsLeft)
        return error;
    const std::optional<QString> change =
        request.operation == SaveOperation::saveAs ? std::nullopt : changeOfOwnFile(request);
    if (!change)
        return std::nullopt;
    return Error{Error::Code::targetChanged,
                 QStringLiteral("%1 Open it again, or save under another name.").arg(*change)};
}

SourceWatch SoundDocument::watchSources(const AudioFile& writer, const SaveRequest& request) const
{
    SourceWatch watch;
    SaveRange range = SaveRange::ofDocument(*this, static_cast<uint32_t>(trackCount()));
    if (request.selection)
        range = SaveRange::ofSelection(*this, *request.selection);
    for (int32_t i = 0; i < range.numTracks; ++i)
        watch.add(clipsAtOffset(range.startFrame, range.numFrames, range.firstTrack + i));
    if (writer.keptSound())
        watch.add(std::shared_ptr<const FileHandle>(writer.keptSound()->fileHandle()));
    if (writer.piecesSource())
        watch.add(std::shared_ptr<const FileHandle>(writer.piecesSource()->fileHandle()));
    if (writer.readsOpenedFile())
        watch.add(std::shared_ptr<const FileHandle>(writer.openedFile()->fileHandle()));
    return watch;
}

std::optional<QString> SoundDocument::changeOfOwnFile(const SaveRequest& request) const
{
    const FileHandle* const handle = mAudioFile ? mAudioFile->fileHandle().get() : nullptr;
    if (!handle || mFilePath.empty())
        return std::nullopt;
    std::error_code failure;
    const auto plain = [&failure](const std::filesystem::path& path) {
        return std::filesystem::absolute(path, failure).lexically_normal();
    };
    const bool isOwnFile = handle->isAt(request.path);
    const QString name = velloria::displayName(request.path);
    if (isOwnFile && handle->hasChangedOnDisk())
        return QStringLiteral(
                   "“%1” was changed by another program since it was opened; a save would overwrite "
                   "that.")
            .arg(name);
    if (!isOwnFile && plain(request.path) == plain(mFilePath) &&
        std::filesystem::exists(request.path, failure))
        return QStringLiteral("“%1” was replaced since it was opened; a save would overwrite that.")
            .arg(name);
    return std::nullopt;
}

void SoundDocument::adoptWriter(const std::shared_ptr<AudioFile>& writer, const SaveRequest& request)
{
    mFileOptionTag = optionTagFor(request);
    mBitRate = writer->bitRate();
    mSampleSize = writer->bitsPerSample();
    mAudioDataFormat = writer->dataFormat();
    // The tracks go on reading the file that they were opened from, which lives on through its handle even
    // when this save replaced it. A fresh handle knows the file as it is now, for hasChangedOnDisk().
    if (std::shared_ptr<FileHandle> handle = FileHandle::openForReading(request.path))
        writer->setFileHandle(std::move(handle));
    if (writer->keptSound())
        mOpenedSound.moveTo(writer);
    writer->takeOverLedger();
    mAudioFile = writer;
    mFilePath = request.path;
    mFileTypeUTI = writer->fileFormatUTI();
    mUndoStack.setClean();
    discardLeftOvers();
}

} // namespace velloria
