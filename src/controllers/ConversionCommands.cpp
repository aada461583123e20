#include "controllers/ConversionCommands.h"

#include "document/UndoGroup.h"
#include "document/clips/FrameNumbers.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kLowestSampleRate = 100.0;
constexpr double kHighestSampleRate = 1000000.0;

MaybeError checkRate(double sampleRate)
{
    if (sampleRate >= kLowestSampleRate && sampleRate <= kHighestSampleRate)
        return std::nullopt;
    return Error{Error::Code::failed, QStringLiteral("A sample rate must be from %1 to %2 Hz.")
                                          .arg(kLowestSampleRate, 0, 'f', 0)
                                          .arg(kHighestSampleRate, 0, 'f', 0)};
}

} // namespace

MaybeError ConversionCommands::mixdown(int numChannels, const QString& actionName)
{
    const bool isMono = numChannels == 1;
    if (isMono && mDocument.trackCount() == 1)
        return std::nullopt;
    MaybeError error;
    bool wasCancelled = false;
    {
        const std::unique_ptr<Progress> progress = mHost.beginProgress(
            isMono ? QStringLiteral("Mixing down to mono") : QStringLiteral("Mixing down to stereo"));
        const UndoGroup group(mDocument, actionName);
        error = isMono ? mDocument.mixdownToMono(*progress) : mDocument.mixdownToStereo(*progress);
        wasCancelled = progress->isCancelled();
    }
    if (!error && wasCancelled)
        mHost.resultIsPartial(PartialResult::mixdownCancelled);
    return error;
}

MaybeError ConversionCommands::resample(double sampleRate, std::optional<double> totalTime,
                                        const QString& actionName)
{
    if (MaybeError error = checkRate(sampleRate))
        return error;
    if (totalTime && !(*totalTime > 0.0 && std::isfinite(*totalTime)))
        return Error{Error::Code::failed, QStringLiteral("A duration must be longer than 0 seconds.")};
    if (mDocument.numberOfFrames() < 1 || (sampleRate == mDocument.sampleRate() && !totalTime))
        return std::nullopt;
    const double duration = totalTime.value_or(mDocument.totalTime());
    if (duration * sampleRate >= static_cast<double>(kMaxFrameNumber))
        return Error{Error::Code::failed, QStringLiteral("The document would become too long.")};
    const double stretch = duration / mDocument.totalTime();
    SoundSelection selection = mSelection.normalizedSelection();
    bool wasCancelled = false;
    {
        const UndoGroup group(mDocument, actionName);
        {
            const auto progress = mHost.beginProgress(QStringLiteral("Resampling Audio"));
            if (MaybeError error = mDocument.resampleTo(sampleRate, duration, *progress, mMostScratchBytes))
                return error;
            wasCancelled = progress->isCancelled();
        }
        // The same sound stays selected.
        selection.startTime *= stretch;
        selection.endTime *= stretch;
        mSelection.setSelection(selection);
        mSelection.setSelection(mSelection.normalizedSelection());
    }
    if (wasCancelled)
        mHost.resultIsPartial(PartialResult::resamplingCancelled);
    return std::nullopt;
}

MaybeError ConversionCommands::setProperties(double sampleRate, int64_t sampleSize, const QString& actionName)
{
    if (MaybeError error = checkRate(sampleRate))
        return error;
    if (sampleSize < 1 || sampleSize > 64)
        return Error{Error::Code::failed, QStringLiteral("A sample must have from 1 to 64 bits.")};
    SoundSelection selection = mSelection.normalizedSelection();
    const double stretch = mDocument.sampleRate() / sampleRate;
    const UndoGroup group(mDocument, actionName);
    mDocument.undoableSetSampleSize(sampleSize);
    mDocument.undoableSetSampleRate(sampleRate);
    // The same frames stay selected; they only last another time.
    selection.startTime *= stretch;
    selection.endTime *= stretch;
    mSelection.setSelection(selection);
    return std::nullopt;
}

void ConversionCommands::addTrack(const QString& actionName)
{
    const UndoGroup group(mDocument, actionName);
    mDocument.insertInTracks(AudioTrack::track());
}

void ConversionCommands::removeSelectedTracks(const QString& actionName)
{
    const SoundSelection selection = mSelection.normalizedSelection();
    // The last one stays: a document without tracks could not be saved.
    const int32_t count = std::min(selection.numTracks, mDocument.trackCount() - 1);
    if (count < 1)
        return;
    const UndoGroup group(mDocument, actionName);
    for (int32_t i = 0; i < count; ++i)
        mDocument.removeFromTracksAtIndex(selection.firstTrack);
    SoundSelection rest = mSelection.normalizedSelection();
    rest.firstTrack = 0;
    rest.numTracks = mDocument.trackCount();
    mSelection.setSelection(rest);
}

} // namespace velloria
