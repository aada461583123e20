#include "document/SoundDocument.h"

#include "platform/FileReplacer.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <set>

namespace velloria
{

namespace
{

/// Formats that lose precision by their nature; who chooses one knows.
bool isLossy(const AudioFile& writer)
{
    constexpr std::array lossyFormats = {fourCharCode("aac "), fourCharCode("ima4"), fourCharCode("alaw"),
                                         fourCharCode("ulaw"), fourCharCode("MPG3")};
    static const QStringList lossyTypes = {
        QStringLiteral("public.aac-audio"), QStringLiteral("public.mpeg-4-audio.aac"),
        QStringLiteral("public.mp3"), QStringLiteral("org.videolan.ogg-audio")};
    return lossyTypes.contains(writer.fileFormatUTI()) ||
           std::find(lossyFormats.begin(), lossyFormats.end(), writer.dataFormat()) != lossyFormats.end();
}

/// Where the tracks' samples come from.
struct Sources {
    /// The opened files that clips read in place.
    std::set<const SampleSource*> files;
    /// The widest integers that a decoder found.
    int64_t mostIntegerBits = 0;
};

Sources sourcesOfTracks(const std::vector<AudioTrackPtr>& tracks)
{
    Sources sources;
    for (const AudioTrackPtr& track : tracks)
        track->clips().forEachFrom(0, [&sources](const AudioClipPtr& clip, int64_t) {
            if (clip->sourceFile())
                sources.files.insert(clip->sourceFile().get());
            sources.mostIntegerBits = std::max<int64_t>(sources.mostIntegerBits, clip->integerBits());
            return true;
        });
    return sources;
}

QStringList precisionLosses(const AudioFile& writer, int64_t sampleSize, const Sources& sources)
{
    if (isLossy(writer) || !writer.storesIntegers())
        return {};
    const int64_t bits = writer.bitsPerSample();
    const int64_t widest = std::accumulate(
        sources.files.begin(), sources.files.end(), std::max(sampleSize, sources.mostIntegerBits),
        [](int64_t most, const SampleSource* source) { return std::max(most, source->sampleBits()); });
    if (widest > bits)
        return {QStringLiteral("Samples of %1 bits are rounded to %2 bits.").arg(widest).arg(bits)};
    const bool hasFloats = std::any_of(sources.files.begin(), sources.files.end(),
                                       [](const SampleSource* source) { return source->isFloat(); });
    if (hasFloats && !writer.isFloat())
        return {QStringLiteral("Floating-point samples become %1-bit integers; what is louder than full "
                               "scale is clipped.")
                    .arg(bits)};
    return {};
}

QStringList tagLosses(const AudioFile& writer, const QString& type)
{
    const AudioMetadata& metadata = writer.metadata();
    QStringList losses;
    if (metadata.isNotEmpty() && !writer.canSaveMetadata())
        losses += QStringLiteral("%1 files hold no tags (title, artist and so on).").arg(type);
    else if (!metadata.artwork().isEmpty() && !writer.canSaveArtwork())
        losses += QStringLiteral("%1 files hold no pictures.").arg(type);

    const bool isAiff = writer.fileFormatUTI().startsWith(QLatin1String("public.aif"));
    const bool hasAiffChunks =
        !metadata.aiffInstrumentChunk().isEmpty() || !metadata.aiffMIDIChunk().isEmpty() ||
        !metadata.aiffAudioRecordingChunk().isEmpty() || !metadata.aiffCommentChunk().isEmpty();
    if (hasAiffChunks && !isAiff)
        losses += QStringLiteral("AIFF instrument, MIDI, recording or comment data are left out.");
    const bool isWave = writer.fileFormatUTI() == QLatin1String("com.microsoft.waveform-audio");
    if (!metadata.waveBWFChunks().isEmpty() && !isWave)
        losses += QStringLiteral("Broadcast Wave data are left out.");
    return losses;
}

QString markerLoss(const AudioFile& writer, const QString& type)
{
    const int64_t count = writer.markers() ? std::ssize(*writer.markers()) : 0;
    if (count > 0 && !writer.canSaveMarkers())
        return QStringLiteral("%1 files hold no markers.").arg(type);
    if (count > writer.maximumNumberOfMarkers())
        return QStringLiteral("%1 files hold at most %2 markers, of %3 here.")
            .arg(type)
            .arg(writer.maximumNumberOfMarkers())
            .arg(count);
    return {};
}

/// What the opened file has and the document could not take in.
QStringList partsNotKept(const AudioFile& opened)
{
    const auto separator = QStringLiteral(", ");
    QStringList losses;
    if (!opened.chunksNotKept().isEmpty())
        losses += QStringLiteral("Parts of the opened file that Velloria does not know are left out: %1.")
                      .arg(opened.chunksNotKept().join(separator));
    if (!opened.tagsNotKept().isEmpty())
        losses += QStringLiteral("Tags that Velloria does not know are left out: %1.")
                      .arg(opened.tagsNotKept().join(separator));
    return losses;
}

QStringList changedSources(const std::set<const SampleSource*>& sources)
{
    QStringList losses;
    for (const SampleSource* source : sources) {
        const auto* file = dynamic_cast<const AudioFile*>(source);
        if (file && file->fileHandle() && file->fileHandle()->hasChangedOnDisk())
            losses += QStringLiteral("“%1” was changed by another program since it was opened; sound that is "
                                     "read from it may be different or missing.")
                          .arg(displayName(file->filePath()));
    }
    losses.sort();
    return losses;
}

} // namespace

QStringList SoundDocument::lossesWhenSaving(const SaveRequest& request) const
{
    const std::shared_ptr<AudioFile> writer = configuredWriter(request);
    if (!writer)
        return {};
    const QString type = writer->displayTypeName();
    const Sources sources = sourcesOfTracks(*audioTracks());
    QStringList losses = precisionLosses(*writer, mSampleSize, sources);

    const uint32_t maximum = writer->maximumNumberOfChannels();
    if (writer->numberOfChannels() > maximum)
        losses += QStringLiteral("%1 files hold at most %2 channels, of %3 here.")
                      .arg(type)
                      .arg(maximum)
                      .arg(writer->numberOfChannels());
    losses += writer->soundLosses();
    if (const QString loss = markerLoss(*writer, type); !loss.isEmpty())
        losses += loss;
    losses += tagLosses(*writer, type);
    if (!request.selection && mAudioFile)
        losses += partsNotKept(*mAudioFile);
    losses += changedSources(sources.files);
    losses += FileReplacer::lossesWhenReplacing(request.path);
    return losses;
}

} // namespace velloria
