#include "app/analysis/AnalysedSound.h"

#include "app/look/ItemNames.h"
#include "app/look/TrackNames.h"
#include "controllers/SelectionModel.h"
#include "display/TimeFormatter.h"

#include <QCoreApplication>

namespace velloria
{

AnalysedSound AnalysedSound::selectionOf(SoundController& controller)
{
    const SoundDocument& document = controller.document();
    const SoundSelection selection = controller.selection().selectionOrAll();
    const TrackList all = document.audioTracks();
    const auto numTracks = static_cast<int32_t>(all->size());
    AnalysedSound sound;
    sound.sampleRate = document.sampleRate();
    sound.offset = frameAtTime(selection.startTime, sound.sampleRate);
    const int64_t end = std::min(document.numberOfFrames(), frameAtTime(selection.endTime, sound.sampleRate));
    sound.numFrames = std::max<int64_t>(0, end - sound.offset);
    for (int32_t track = selection.firstTrack;
         track < std::min(numTracks, selection.firstTrack + selection.numTracks); ++track) {
        sound.tracks.push_back((*all)[static_cast<size_t>(track)]);
        sound.trackNames.append(TrackNames::name(track, numTracks));
    }
    sound.documentName = document.displayName();
    sound.isWhole = sound.numFrames == document.numberOfFrames() && sound.tracks.size() == all->size();
    return sound;
}

QString AnalysedSound::description() const
{
    if (isWhole)
        return ItemNames::shown(documentName);
    TimeFormatter formatter;
    formatter.setSampleRate(sampleRate);
    formatter.setPrecision(0.001);
    const auto time = [&](int64_t frame) {
        return formatter.stringWithTime(static_cast<double>(frame) / sampleRate);
    };
    //: Which part of a sound is looked at: %1 is the file, %2 and %3 are times, %4 names tracks
    //% "%1, %2 to %3, %4"
    return qtTrId("analysis-part")
        .arg(ItemNames::shown(documentName), time(offset), time(offset + numFrames),
             trackNames.join(QStringLiteral(" + ")));
}

} // namespace velloria
