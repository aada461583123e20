#include "controllers/GeneratorController.h"

#include "document/UndoGroup.h"
#include "document/clips/FrameNumbers.h"

#include <algorithm>

namespace velloria
{

MaybeError GeneratorController::insert(Generator& generator, const QString& actionName)
{
    const double rate = mDocument.sampleRate();
    const double seconds = generator.parameters().value(Generator::kDuration);
    if (static_cast<double>(mDocument.numberOfFrames()) + seconds * rate >=
        static_cast<double>(kMaxFrameNumber))
        return Error{Error::Code::failed, QStringLiteral("The document would become too long.")};
    const int64_t numFrames = frameAtTime(seconds, rate);
    if (numFrames < 1)
        return std::nullopt;
    MaybeError error;
    const std::unique_ptr<Progress> progress = mHost.beginProgress(generator.name());
    const AudioClipPtr clip = generator.makeClip(rate, numFrames, progress.get(), &error);
    if (!clip)
        return error;
    SoundSelection selection = mSelection.normalizedSelection();
    selection.numTracks = std::max(selection.numTracks, mDocument.trackCount() == 0 ? 1 : 0);
    const int64_t start = frameAtTime(selection.startTime, rate);
    const UndoGroup group(mDocument, actionName.isEmpty() ? generator.name() : actionName);
    while (mDocument.trackCount() < selection.firstTrack + selection.numTracks)
        mDocument.insertInTracks(AudioTrack::track());
    for (int32_t i = 0; i < selection.numTracks; ++i)
        mDocument.replaceDataAndMarkersAtOffset(start, 0, selection.firstTrack + i, clip);
    selection.endTime = static_cast<double>(start + numFrames) / rate;
    mSelection.setSelection(selection);
    return std::nullopt;
}

} // namespace velloria
