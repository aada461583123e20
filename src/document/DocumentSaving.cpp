#include "document/SoundDocument.h"

#include "formats/AudioFileRegistry.h"
#include "platform/FileReplacer.h"
#include "platform/Log.h"

#include <algorithm>
#include <chrono>
#include <future>

namespace velloria
{

namespace
{

constexpr std::chrono::milliseconds kProgressInterval(50);

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

} // namespace

std::shared_ptr<AudioFile> SoundDocument::configuredWriter(const SaveRequest& request) const
{
    std::shared_ptr<AudioFile> writer = AudioFileRegistry::audioFileWithUTI(
        request.uti, sampleRate(), static_cast<uint32_t>(mSampleSize), static_cast<uint32_t>(trackCount()));
    if (!writer)
        return nullptr;
    if (request.selection)
        writer->setNumberOfChannels(static_cast<uint32_t>(request.selection->numTracks));
    else {
        writer->setMarkers(mAudioMarkers);
        writer->setOpenedFile(mAudioFile);
    }
    writer->setNumberOfFrames(request.selection ? frameAtTime(request.selection->duration(), sampleRate())
                                                : numberOfFrames());
    writer->setMetadata(request.metadata.value_or(mAudioMetadata));
    writer->setBitRate(mBitRate);
    writer->setBitsPerSample(static_cast<uint32_t>(mSampleSize));
    writer->setDataFormat(mAudioDataFormat);
    if (request.optionTag != 0)
        writer->configureWithPopUpTag(request.optionTag);
    writer->validateAndCorrectParameters();
    return writer;
}

double SoundDocument::estimatedFileSize(const SaveRequest& request) const
{
    const std::shared_ptr<AudioFile> writer = configuredWriter(request);
    return writer ? writer->estimatedFileSizeWithTag(request.optionTag) : -1.0;
}

MaybeError SoundDocument::writeToPath(const SaveRequest& request, Progress& progress)
{
    if (request.selection && (request.selection->firstTrack < 0 || request.selection->numTracks < 1 ||
                              request.selection->numTracks > trackCount() - request.selection->firstTrack))
        return notSaved(QStringLiteral("the selection holds no tracks."));
    const std::shared_ptr<AudioFile> writer = configuredWriter(request);
    if (!writer)
        return notSaved(QStringLiteral("files of the type “%1” cannot be written.").arg(request.uti));
    mSaveWarnings.clear();
    if (MaybeError error = writeWithWriter(writer, request, progress))
        return error;
    if (writer->sourceWasShort())
        mSaveWarnings +=
            QStringLiteral("A file that the sound is read from became shorter meanwhile; there is "
                           "silence where sound was missing.");
    if (request.operation != SaveOperation::saveTo)
        adoptWriter(writer, request);
    return std::nullopt;
}

MaybeError SoundDocument::writeWithWriter(const std::shared_ptr<AudioFile>& writer,
                                          const SaveRequest& request, Progress& progress) const
{
    MaybeError error;
    const std::unique_ptr<FileReplacer> replacer = FileReplacer::create(request.path, &error);
    if (!replacer)
        return error ? error : notSaved(displayPath(request.path));
    writer->setFileHandle(replacer->handle());
    writer->setFilePath(request.path);
    // Someone who saves several pieces under one progress bar has set the target already.
    if (progress.targetValue() == 0)
        progress.setTargetValue(writer->numberOfFrames());
    const SoundSelection* selection = request.selection ? &*request.selection : nullptr;
    if (!writer->saveDocument(*this, selection, progress, &error))
        return error ? error : notSaved(QStringLiteral("writing failed."));
    if ((error = flushWithProgress(*replacer, progress)))
        return error;
    return replacer->commit();
}

void SoundDocument::adoptWriter(const std::shared_ptr<AudioFile>& writer, const SaveRequest& request)
{
    mBitRate = writer->bitRate();
    mSampleSize = writer->bitsPerSample();
    mAudioDataFormat = writer->dataFormat();
    // The tracks go on reading the file that they were opened from, which lives on through its handle even
    // when this save replaced it. A fresh handle knows the file as it is now, for hasChangedOnDisk().
    if (std::shared_ptr<FileHandle> handle = FileHandle::openForReading(request.path))
        writer->setFileHandle(std::move(handle));
    writer->takeOverLedger();
    mAudioFile = writer;
    mFilePath = request.path;
    mFileTypeUTI = writer->fileFormatUTI();
    mUndoStack.setClean();
    discardLeftOvers();
}

} // namespace velloria
