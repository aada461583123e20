#include "controllers/MixPasteController.h"

#include "controllers/EditCommands.h"
#include "controllers/SelectionModel.h"
#include "document/AudioClipboard.h"
#include "document/UndoGroup.h"
#include "document/clips/ClipWriter.h"
#include "document/clips/ComputedSound.h"
#include "document/clips/SourceWatch.h"
#include "platform/Log.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int64_t kFramesPerBlock = 1024;
/// Of a frame: how far a time that was made from a frame number may fall short of it.
constexpr double kFrameTolerance = 1e-6;

int64_t truncatedFrame(double seconds, double sampleRate)
{
    return static_cast<int64_t>(std::floor(std::max(0.0, seconds * sampleRate + kFrameTolerance)));
}

} // namespace

MixPasteController::Target MixPasteController::targetOf(const ClipboardClip& clip) const
{
    const SoundDocument& document = mController.document();
    const SoundSelection selection = mController.selection().normalizedSelection();
    const double rate = document.sampleRate();
    const bool staysInside = mPasteInto && selection.duration() > 0.0;
    Target target;
    target.firstTrack = selection.firstTrack;
    target.numTracks = clip.numTracks();
    double duration = clip.duration();
    if (staysInside) {
        target.numTracks = std::min(target.numTracks, selection.numTracks);
        duration = std::min(duration, selection.duration());
    }
    target.start = truncatedFrame(selection.startTime, rate);
    target.numFrames = staysInside ? truncatedFrame(selection.duration(), rate) : -1;
    const double end = std::ceil((selection.startTime + duration) * rate - kFrameTolerance);
    target.numMissingFrames = std::max<int64_t>(0, static_cast<int64_t>(end) - document.numberOfFrames());
    return target;
}

MaybeError MixPasteController::performMixPaste(const QString& actionName)
{
    const std::shared_ptr<ClipboardClip> clip = AudioClipboard::clipboard().contents();
    if (!clip) {
        logLine(QStringLiteral("-[MixPasteController performMixPaste] clip == nil"));
        return std::nullopt;
    }
    if (MaybeError error = mController.editing().checkRoomFor(clip->duration()))
        return error;
    Target target = targetOf(*clip);
    MaybeError error;
    const auto [tracks, wasCancelled] = mController.editing().tracksOfClip(
        *clip, target.numTracks, QStringLiteral("Resampling audio"), &error);
    if (error)
        return error;
    if (tracks.empty()) {
        logLine(QStringLiteral("-[MixPasteController performMixPaste] tracks count < 1"));
        return std::nullopt;
    }
    target.numTracks = std::min(target.numTracks, static_cast<int32_t>(tracks.size()));
    if (target.numFrames < 0)
        target.numFrames = tracks.front()->length();
    const auto clips = mixedClips(tracks, target, &error);
    if (error || clips.empty() || clips.front()->numFrames() < 1)
        return error;
    const bool hasFewerTracks = target.numTracks < mController.selection().normalizedSelection().numTracks;
    {
        const UndoGroup group(mController.document(), actionName);
        install(clips, target);
    }
    if (wasCancelled || clips.front()->numFrames() < target.numFrames)
        mController.host().resultIsPartial(PartialResult::pasteCancelled);
    else if (hasFewerTracks)
        mController.host().resultIsPartial(PartialResult::fewerTracksPasted);
    return std::nullopt;
}

std::vector<std::shared_ptr<MutableAudioClip>>
MixPasteController::mixedClips(const std::vector<AudioTrackPtr>& pasted, const Target& target,
                               MaybeError* error) const
{
    if ((*error = ComputedSound::lackOfRoom(target.numFrames, target.numTracks)))
        return {};
    const SoundDocument& document = mController.document();
    const TrackList tracks = document.audioTracks();
    const std::unique_ptr<Progress> progress =
        mController.host().beginProgress(QStringLiteral("Pasting audio"));
    SourceWatch watch(*tracks);
    for (const AudioTrackPtr& track : pasted)
        watch.add(*track);
    ClipWriter writer(target.numTracks, document.sampleRate());
    writer.setComputed(
        ComputedSound::samplesFrom(ComputedSound::samplesFrom(*tracks), ComputedSound::samplesFrom(pasted)));
    ClipWriter::Block block(static_cast<size_t>(target.numTracks));
    for (int64_t done = 0; done < target.numFrames && !progress->isCancelled();) {
        const int64_t count = std::min(target.numFrames - done, kFramesPerBlock);
        for (int32_t k = 0; k < target.numTracks; ++k) {
            FloatBuffer present(static_cast<size_t>(count));
            // A track that the document does not have yet is silent.
            if (target.firstTrack + k < document.trackCount())
                (*tracks)[static_cast<size_t>(target.firstTrack) + static_cast<size_t>(k)]->readSamples(
                    target.start + done, present);
            block[static_cast<size_t>(k)] =
                mixedData(present, pasted[static_cast<size_t>(k)]->sampleDataAtOffset(done, count));
        }
        if ((*error = writer.append(block)))
            return {};
        done += count;
        progress->setProgressValue(static_cast<double>(done) / static_cast<double>(target.numFrames));
    }
    if ((*error = writer.finish()) || (*error = watch.error()))
        return {};
    return writer.clips();
}

void MixPasteController::install(const std::vector<std::shared_ptr<MutableAudioClip>>& clips,
                                 const Target& target)
{
    SoundDocument& document = mController.document();
    while (document.trackCount() < target.firstTrack + target.numTracks)
        document.insertInTracks(AudioTrack::track());
    if (target.numMissingFrames > 0) {
        const auto first = static_cast<size_t>(target.firstTrack);
        document.replaceDataAtOffset((*document.audioTracks())[first]->length(), 0, target.firstTrack,
                                     ClipList(std::make_shared<AudioClip>(target.numMissingFrames)));
    }
    int32_t track = target.firstTrack;
    for (const auto& clip : clips)
        document.replaceDataAndMarkersAtOffset(target.start, clip->numFrames(), track++, clip);
    const double rate = document.sampleRate();
    mController.selection().setSelection(
        {static_cast<double>(target.start) / rate,
         static_cast<double>(target.start + clips.front()->numFrames()) / rate, target.firstTrack,
         target.numTracks});
}

FloatBuffer MixPasteController::mixedData(std::span<const float> existing, std::span<const float> paste) const
{
    if (existing.empty() && paste.empty()) {
        logLine(QStringLiteral("-[MixPasteController mixedData...] parameter error"));
        return {};
    }
    const double existingGain = std::pow(10.0, mExisting / 20.0);
    const double pasteGain = std::pow(10.0, mPasteboard / 20.0);
    FloatBuffer mixed(std::max(existing.size(), paste.size()));
    for (size_t i = 0; i < mixed.size(); ++i) {
        const double present = i < existing.size() ? existing[i] : 0.0;
        const double added = i < paste.size() ? paste[i] : 0.0;
        mixed[i] = static_cast<float>(present * existingGain + added * pasteGain);
    }
    return mixed;
}

} // namespace velloria
