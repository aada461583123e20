#include "document/SoundDocument.h"

#include "formats/AudioFileRegistry.h"
#include "formats/aiff/AifcFile.h"
#include "formats/decoding/DecodingWatcher.h"
#include "platform/Log.h"
#include "platform/MissedReads.h"

#include <QCoreApplication>
#include <QThread>

namespace velloria
{

namespace
{

void fill(MaybeError* error, Error reason)
{
    if (error)
        *error = std::move(reason);
}

std::shared_ptr<AudioFile> openFile(const std::filesystem::path& path, const QString& typeName,
                                    MaybeError* error)
{
    MaybeError reason;
    std::shared_ptr<AudioFile> file = typeName.isEmpty()
                                          ? AudioFileRegistry::audioFileWithPath(path, &reason)
                                          : AudioFileRegistry::audioFileWithTypeName(typeName, path, &reason);
    if (file)
        return file;
    if (reason && reason->code == Error::Code::noPermission)
        logLine(QStringLiteral("Access denied to opening file."));
    if (!reason)
        reason = Error{
            Error::Code::corruptFile,
            QStringLiteral("“%1” is damaged or no sound file that Velloria knows.").arg(displayName(path))};
    fill(error, *reason);
    return nullptr;
}

std::vector<AudioClipPtr> decodedClips(AudioFile& file, Progress& progress, MaybeError* error)
{
    const auto clips = file.convertedAudioClips(progress, error);
    return {clips.begin(), clips.end()};
}

/// One clip a channel, or none with `error` filled.
std::vector<AudioClipPtr> clipsOfFile(const std::shared_ptr<AudioFile>& file, Progress& progress,
                                      MaybeError* error)
{
    MaybeError reason;
    std::vector<AudioClipPtr> clips =
        file->requiresConversion() ? decodedClips(*file, progress, &reason) : AudioFile::pcmAudioClips(file);
    if (!clips.empty())
        return clips;
    if (!reason)
        reason = Error{Error::Code::corruptFile,
                       QStringLiteral("“%1” holds no sound.").arg(displayName(file->filePath()))};
    fill(error, *reason);
    return clips;
}

/// What was decoded from a file that changed meanwhile is a mixture that no later look would show. A file
/// that is read in place is looked at whenever its sound is written. What a disk did not give is missing from
/// the document either way.
MaybeError faultWhileReading(const AudioFile& file)
{
    if (!file.fileHandle())
        return std::nullopt;
    if (file.fileHandle()->numMissedReads() > 0)
        return missedReadsError(*file.fileHandle());
    if (!file.requiresConversion() || !file.fileHandle()->hasChangedOnDisk())
        return std::nullopt;
    return Error{
        Error::Code::sourceChanged,
        QStringLiteral("“%1” was changed by another program while it was being opened. Open it again.")
            .arg(displayName(file.filePath()))};
}

} // namespace

std::shared_ptr<SoundDocument> SoundDocument::readFromPath(const std::filesystem::path& path,
                                                           const QString& typeName, Progress& progress,
                                                           MaybeError* error, DecodingWatcher* watcher)
{
    const std::shared_ptr<AudioFile> file = openFile(path, typeName, error);
    if (!file)
        return nullptr;
    std::shared_ptr<SoundDocument> document(new SoundDocument(ForLoading()));
    document->mAudioFile = file;
    document->mFilePath = path;
    document->mFileTypeUTI = file->fileFormatUTI();
    // As far as the header tells; what is decoded is labelled with it.
    document->mSampleSize = file->bitsPerSample() == 0 ? 16 : file->bitsPerSample();
    const ScratchLabelScope scope(
        [&document] { return document->scratchLabel(ScratchLabel::Use::decoding); });
    file->setDecodingWatcher(watcher);
    const std::vector<AudioClipPtr> clips = clipsOfFile(file, progress, error);
    file->setDecodingWatcher(nullptr);
    if (const MaybeError fault = faultWhileReading(*file); fault && !clips.empty()) {
        fill(error, *fault);
        return nullptr;
    }
    if (!document->finishLoadingFileWithAudioClips(clips))
        return nullptr;
    // The history's signals belong to the main thread, wherever the file was read.
    if (QCoreApplication::instance())
        document->mUndoStack.moveToThread(QCoreApplication::instance()->thread());
    return document;
}

std::shared_ptr<SoundDocument> SoundDocument::whileDecoding(const std::filesystem::path& path,
                                                            const DecodingStart& start)
{
    std::shared_ptr<SoundDocument> document(new SoundDocument(ForLoading()));
    document->mFilePath = path;
    document->mSampleRate = start.sampleRate;
    document->mSampleSize = start.bitsPerSample == 0 ? 16 : start.bitsPerSample;
    std::vector<AudioTrackPtr> tracks;
    for (const auto& clip : start.clips)
        tracks.push_back(
            std::make_shared<AudioTrack>(ClipList(clip->clipWithPromisedLength(start.expectedFrames))));
    document->storeTracks(std::make_shared<const std::vector<AudioTrackPtr>>(std::move(tracks)));
    document->updateTrackPanning();
    document->recalculateNumFrames();
    return document;
}

bool SoundDocument::finishLoadingFileWithAudioClips(const std::vector<AudioClipPtr>& clips)
{
    if (clips.empty())
        return false;
    const AudioFile& file = *mAudioFile;
    mNumberOfFrames = file.numberOfFrames();
    mSampleSize = file.bitsPerSample() == 0 ? 16 : file.bitsPerSample();
    mSampleRate = file.sampleRate();
    mBitRate = file.bitRate();
    mAudioDataFormat = file.dataFormat();
    mOpenWarnings = file.warnings();

    std::vector<AudioTrackPtr> tracks;
    tracks.reserve(clips.size());
    for (const AudioClipPtr& clip : clips)
        tracks.push_back(std::make_shared<AudioTrack>(ClipList(clip)));
    storeTracks(std::make_shared<const std::vector<AudioTrackPtr>>(std::move(tracks)));
    updateTrackPanning();
    mOpenedSound = OpenedSound(mAudioFile, *mAudioTracks, mSampleRate);
    mMarkers.install(file.markers());
    mAudioMetadata = file.metadata();

    // Samples as they are, or of an encoding that is not written, are saved as plain AIFF: nothing is lost.
    if (mFileTypeUTI == QLatin1String("public.aifc-audio"))
        mFileTypeUTI = AifcFile::typeForSaving(mAudioDataFormat);
    return true;
}

} // namespace velloria
