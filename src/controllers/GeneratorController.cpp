#include "controllers/GeneratorController.h"

#include "document/UndoGroup.h"
#include "document/clips/FrameNumbers.h"

#include <algorithm>

namespace velloria
{

AudioClipPtr GeneratorController::makeClip(Generator& generator, int64_t numFramesBefore, MaybeError* error)
{
    const double rate = mDocument.sampleRate();
    const double seconds = generator.parameters().value(Generator::kDuration);
    if (static_cast<double>(mDocument.numberOfFrames() + numFramesBefore) + seconds * rate >=
        static_cast<double>(kMaxFrameNumber)) {
        *error = Error{Error::Code::failed, QStringLiteral("The document would become too long.")};
        return nullptr;
    }
    const int64_t numFrames = frameAtTime(seconds, rate);
    if (numFrames < 1)
        return nullptr;
    generator.setSeed(seedOfPlace(numFramesBefore));
    const std::unique_ptr<Progress> progress = mHost.beginProgress(generator.name());
    return generator.makeClip(rate, numFrames, progress.get(), error);
}

/// Noise that is inserted twice, or into one track and then the other, must not repeat itself; a batch that
/// runs twice must.
std::vector<uint32_t> GeneratorController::seedOfPlace(int64_t numFramesBefore) const
{
    const SoundSelection selection = mSelection.normalizedSelection();
    const int64_t frame = frameAtTime(selection.startTime, mDocument.sampleRate()) + numFramesBefore;
    std::vector<uint32_t> seed = {static_cast<uint32_t>(selection.firstTrack)};
    int64_t lengths = 0;
    for (const AudioTrackPtr& track : *mDocument.audioTracks())
        lengths += track->length();
    for (const int64_t number : {frame, lengths}) {
        seed.push_back(static_cast<uint32_t>(number));
        seed.push_back(static_cast<uint32_t>(number >> 32));
    }
    return seed;
}

MaybeError GeneratorController::insert(Generator& generator, const QString& actionName)
{
    MaybeError error;
    if (const AudioClipPtr clip = makeClip(generator, 0, &error))
        place({clip}, actionName.isEmpty() ? generator.name() : actionName);
    return error;
}

MaybeError GeneratorController::insertNotes(NoteGenerator& generator, std::span<const int> notes,
                                            const QString& actionName)
{
    MaybeError error;
    std::vector<AudioClipPtr> clips;
    int64_t numFrames = 0;
    for (const int note : notes) {
        generator.parameters().setValue(NoteGenerator::kNote, note);
        AudioClipPtr clip = makeClip(generator, numFrames, &error);
        if (!clip)
            return error;
        numFrames += clip->numFrames();
        clips.push_back(std::move(clip));
    }
    if (!clips.empty())
        place(clips, actionName);
    return std::nullopt;
}

void GeneratorController::place(const std::vector<AudioClipPtr>& clips, const QString& actionName)
{
    const double rate = mDocument.sampleRate();
    SoundSelection selection = mSelection.normalizedSelection();
    selection.numTracks = std::max(selection.numTracks, mDocument.trackCount() == 0 ? 1 : 0);
    int64_t frame = frameAtTime(selection.startTime, rate);
    const UndoGroup group(mDocument, actionName);
    while (mDocument.trackCount() < selection.firstTrack + selection.numTracks)
        mDocument.insertInTracks(AudioTrack::track());
    for (const AudioClipPtr& clip : clips) {
        for (int32_t i = 0; i < selection.numTracks; ++i)
            mDocument.replaceDataAndMarkersAtOffset(frame, 0, selection.firstTrack + i, clip);
        frame += clip->numFrames();
    }
    selection.endTime = static_cast<double>(frame) / rate;
    mSelection.setSelection(selection);
}

} // namespace velloria
