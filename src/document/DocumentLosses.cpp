#include "document/SoundDocument.h"

#include "document/BroadcastChunks.h"
#include "document/clips/ComputedClip.h"
#include "document/clips/ComputedSound.h"
#include "document/clips/MutableAudioClip.h"
#include "formats/aiff/AiffFile.h"
#include "formats/saving/SaveLoop.h"
#include "formats/tags/ValueChanges.h"
#include "platform/FileReplacer.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

// Integers of more bits do not fit into a 32-bit float.
constexpr int64_t bitsOfFloats = 24;
constexpr QLatin1String waveType("com.microsoft.waveform-audio");
// Digits that tell a rate from the whole number beside it.
constexpr int ratePrecision = 12;

/// What the tracks' samples are made from.
struct Sources {
    int64_t mostIntegerBits = 0;
    /// Of those that became floats when they were decoded, and of those that sound was computed from.
    int64_t mostDecodedBits = 0;
    int64_t mostBitsBefore = 0;
    int64_t mostFloatBits = 0;
    int64_t mostFloatBitsBefore = 0;
    /// There is sound that was decoded from a lossy encoding, and such that decodes to floats.
    bool hasLossySound = false;
    bool hasLossyFloats = false;
    /// There is sound that was computed and is louder than integers can tell.
    bool isAboveFullScale = false;

    bool hasFloats() const { return mostFloatBits > 0 || hasLossyFloats; }
};

Sources sourcesOfTracks(const std::vector<AudioTrackPtr>& tracks)
{
    Sources sources;
    for (const AudioTrackPtr& track : tracks)
        track->clips().forEachFrom(0, [&sources](const AudioClipPtr& clip, int64_t) {
            const StoredSamples stored = clip->storedSamples();
            if (!clip->sourceFile())
                sources.mostDecodedBits = std::max(sources.mostDecodedBits, stored.integerBits());
            sources.mostIntegerBits = std::max(sources.mostIntegerBits, stored.integerBits());
            sources.mostBitsBefore = std::max(sources.mostBitsBefore, stored.integerBitsBefore);
            sources.mostFloatBits = std::max(sources.mostFloatBits, stored.floatBits());
            sources.mostFloatBitsBefore = std::max(sources.mostFloatBitsBefore, stored.floatBitsBefore);
            sources.hasLossySound |= stored.isLossy;
            sources.hasLossyFloats |= stored.isLossy && stored.bits == 0;
            const auto* const scratch = dynamic_cast<const MutableAudioClip*>(clip.get());
            sources.isAboveFullScale = sources.isAboveFullScale || (scratch && scratch->exceedsFullScale());
            return true;
        });
    return sources;
}

QString clippingLoss(int64_t bits)
{
    return QStringLiteral("Sound that is louder than full scale is clipped in %1-bit integers.").arg(bits);
}

/// `sampleSize` is that of the document: its owner expects no less, whatever was computed since.
QStringList lossesToIntegers(int64_t bits, int64_t sampleSize, const Sources& sources)
{
    QStringList losses;
    if (sources.hasFloats()) {
        const QString what = sources.mostFloatBits > 0 ? QStringLiteral("Floating-point samples become")
                                                       : QStringLiteral("Decoded sound is rounded to");
        losses += QStringLiteral("%1 %2-bit integers; what is louder than full scale is clipped.")
                      .arg(what)
                      .arg(bits);
    } else if (sources.isAboveFullScale) {
        losses += clippingLoss(bits);
    }
    const int64_t widest = std::max(sources.hasFloats() ? 0 : sampleSize, sources.mostIntegerBits);
    if (widest > bits)
        losses += QStringLiteral("Samples of %1 bits are rounded to %2 bits.").arg(widest).arg(bits);
    else if (std::min(sources.mostDecodedBits, bits) > bitsOfFloats)
        losses += QStringLiteral("Samples of %1 bits were rounded to %2 significant bits when they were "
                                 "decoded.")
                      .arg(sources.mostDecodedBits)
                      .arg(bitsOfFloats);
    else if (std::min(sources.mostBitsBefore, bits) > bitsOfFloats)
        losses += QStringLiteral("Samples of %1 bits were rounded to %2 significant bits where the sound was "
                                 "changed.")
                      .arg(sources.mostBitsBefore)
                      .arg(bitsOfFloats);
    return losses;
}

QStringList lossesToFloats(const Sources& sources)
{
    QStringList losses;
    const int64_t floatBits = std::max(sources.mostFloatBits, sources.mostFloatBitsBefore);
    if (floatBits > 32)
        losses += QStringLiteral("Floating-point samples of %1 bits are rounded to 32 bits.").arg(floatBits);
    const int64_t integerBits = std::max(sources.mostIntegerBits, sources.mostBitsBefore);
    if (integerBits > bitsOfFloats)
        losses += QStringLiteral("Samples of %1 bits are rounded to %2 significant bits.")
                      .arg(integerBits)
                      .arg(bitsOfFloats);
    return losses;
}

/// The encoding without what holds it.
QString encodingOf(const AudioFile& file)
{
    const QString extensible = QStringLiteral("extensible (");
    const QString encoding = file.encodingDescription();
    return encoding.startsWith(extensible) ? encoding.sliced(extensible.size()).chopped(1) : encoding;
}

/// Types that hold plain samples, too: their names do not say that an encoding loses something.
bool hasPlainEncodings(const AudioFile& writer)
{
    constexpr std::array types = {QLatin1String("public.aifc-audio"), QLatin1String("public.ulaw-audio"),
                                  QLatin1String("com.apple.coreaudio-format"),
                                  QLatin1String("com.microsoft.waveform-audio")};
    return std::find(types.begin(), types.end(), writer.fileFormatUTI()) != types.end();
}

/// Who chooses a type that is always lossy, or opened a file of the same encoding, knows that it loses
/// something; that sound which has lost some already loses more is another matter.
QStringList lossesToLossy(const AudioFile& writer, const AudioFile* opened, const Sources& sources)
{
    if (sources.hasLossySound)
        return {QStringLiteral("Sound that was decoded from a lossy encoding is encoded once more, which "
                               "loses some more of it.")};
    const QString encoding = encodingOf(writer);
    if (!hasPlainEncodings(writer) || (opened && encodingOf(*opened) == encoding))
        return {};
    return {QStringLiteral("The encoding %1 loses some of the sound.").arg(encoding)};
}

QStringList precisionLosses(const AudioFile& writer, const AudioFile* opened, int64_t sampleSize,
                            const Sources& sources)
{
    if (writer.encodesWithLoss() && writer.piecesSource()) {
        const QString loss = writer.seams().loss(writer.sampleRate());
        return loss.isEmpty() ? QStringList() : QStringList(loss);
    }
    if (writer.encodesWithLoss())
        return lossesToLossy(writer, opened, sources);
    if (writer.storesIntegers())
        return lossesToIntegers(writer.bitsPerSample(), sampleSize, sources);
    return writer.isFloat() ? lossesToFloats(sources) : QStringList();
}

QStringList tagLosses(const AudioFile& writer, const QString& type)
{
    const AudioMetadata& metadata = writer.metadata();
    QStringList losses;
    if (metadata.isNotEmpty() && !writer.canSaveMetadata())
        losses += QStringLiteral("%1 files hold no tags (title, artist and so on).").arg(type);
    else if (!metadata.artwork().isEmpty() && !writer.canSaveArtwork())
        losses += QStringLiteral("%1 files hold no pictures.").arg(type);
    else if (!std::all_of(metadata.artwork().begin(), metadata.artwork().end(),
                          [&](const AttachedPicture& picture) { return writer.canSavePicture(picture); }))
        losses += QStringLiteral("Pictures that are too large for %1 files are left out.").arg(type);

    const bool isAiff = writer.fileFormatUTI().startsWith(QLatin1String("public.aif"));
    const bool hasAiffChunks =
        !metadata.aiffInstrumentChunk().isEmpty() || !metadata.aiffMIDIChunk().isEmpty() ||
        !metadata.aiffAudioRecordingChunk().isEmpty() || !metadata.aiffCommentChunk().isEmpty();
    if (hasAiffChunks && !isAiff)
        losses += QStringLiteral("AIFF instrument, MIDI, recording or comment data are left out.");
    const bool isWave = writer.fileFormatUTI() == waveType;
    if (!metadata.waveBWFChunks().isEmpty() && !isWave)
        losses += QStringLiteral("Broadcast Wave data are left out.");
    return losses;
}

bool hasLongMarkerName(const AudioFile& writer)
{
    const int64_t largest = writer.largestMarkerName();
    return writer.markers() &&
           std::any_of(writer.markers()->begin(), writer.markers()->end(), [&](const AudioMarkerPtr& marker) {
               // A letter takes three bytes at most.
               return marker->name().size() > largest / 3 && marker->name().toUtf8().size() > largest;
           });
}

/// A file that is saved as its own type should stay what it is: what the type cannot write, or a writer does
/// not, is told.
QString encodingChange(const AudioFile& writer, const AudioFile& opened)
{
    const QString before = encodingOf(opened);
    const QString after = encodingOf(writer);
    return before == after ? QString()
                           : QStringLiteral("The encoding changes from %1 to %2.").arg(before, after);
}

/// What the type cannot hold of a tag, or makes otherwise: letters, numbers beyond a limit. Which program
/// encoded the opened file is nobody's loss; a name that somebody gave is.
QStringList tagChanges(const AudioFile& writer, const AudioFile* opened, const QString& type)
{
    if (!writer.canSaveMetadata())
        return {};
    MetadataDictionary tags = writer.metadata().dictionary();
    if (opened && opened->metadata().encodingApplication() == writer.metadata().encodingApplication())
        tags.remove(MetadataKey::encodingApplication);
    const ValueChanges::Differences found = ValueChanges::differences(tags, writer.writtenTags());
    QStringList losses;
    if (!found.altered.isEmpty())
        losses += QStringLiteral("%1 files hold some tags otherwise: %2.")
                      .arg(type, found.altered.join(QStringLiteral(", ")));
    if (!found.missing.isEmpty())
        losses += QStringLiteral("%1 files do not hold all tags: %2.")
                      .arg(type, found.missing.join(QStringLiteral(", ")));
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
    if (hasLongMarkerName(writer))
        return QStringLiteral("Marker names of more than %1 bytes are cut in %2 files.")
            .arg(writer.largestMarkerName())
            .arg(type);
    return {};
}

/// What stands in the opened file and will not in the written one. A writer that knows no opened file, that
/// of a selection, carries nothing over.
QStringList itemsNotWritten(const FileLedger& ledger, const AudioFile& writer)
{
    const auto isLost = [&writer](const FileItem& item) {
        if (writer.openedFile())
            return !writer.willWrite(item);
        return item.keeping != Keeping::structure && item.keeping != Keeping::inModel;
    };
    constexpr std::array kinds = {ItemKind::part, ItemKind::tag, ItemKind::stream, ItemKind::value};
    const std::array sentences = {
        QStringLiteral("Parts of the opened file that Velloria does not know are left out: %1."),
        QStringLiteral("Tags that Velloria does not know are left out: %1."),
        QStringLiteral("Other streams of the opened file are left out: %1."),
        QStringLiteral("Some values are altered: %1.")};
    QStringList losses;
    for (size_t i = 0; i < kinds.size(); ++i) {
        const QStringList names = ledger.namesOf(kinds[i], isLost);
        if (!names.isEmpty())
            losses += sentences[i].arg(names.join(QStringLiteral(", ")));
    }
    return losses;
}

/// What is written back as it was read, but tells of markers or sound that were changed since. `metadata` is
/// what the document has of it.
QStringList staleChunks(const SoundDocument& document, const SaveRequest& request,
                        const AudioMetadata& metadata, const AudioFile& opened, const AudioFile& writer)
{
    QStringList losses;
    if (AiffFile::movesReferences(opened, writer))
        losses += QStringLiteral("Loops or comments of the opened file point at other markers, or at none.");
    if (writer.fileFormatUTI() == waveType)
        losses +=
            BroadcastChunks::forSaving(document, request.selection, metadata.waveBWFChunks(), opened).losses;
    return losses;
}

bool anyComputedClip(const std::vector<AudioTrackPtr>& tracks, bool (ComputedClip::*isSo)() const)
{
    bool isAny = false;
    for (const AudioTrackPtr& track : tracks)
        track->clips().forEachFrom(0, [&](const AudioClipPtr& clip, int64_t) {
            const auto* const computed = dynamic_cast<const ComputedClip*>(clip.get());
            isAny = isAny || (computed && (computed->*isSo)());
            return !isAny;
        });
    return isAny;
}

} // namespace

bool SoundDocument::hasMarkerWithin(const SoundSelection& selection) const
{
    const SaveRange range = SaveRange::ofSelection(*this, selection);
    const MarkerList markers = audioMarkers();
    return std::any_of(markers->begin(), markers->end(), [&range](const AudioMarkerPtr& marker) {
        return marker->position() >= range.startFrame &&
               marker->position() < range.startFrame + range.numFrames;
    });
}

QStringList SoundDocument::lossesWhenSaving(const SaveRequest& request) const
{
    const std::shared_ptr<AudioFile> writer = configuredWriter(request);
    if (!writer)
        return {};
    const QString type = writer->displayTypeName();
    const Sources sources = sourcesOfTracks(*audioTracks());
    QStringList losses;
    if (!writer->keptSound())
        losses += precisionLosses(*writer, mAudioFile.get(), mSampleSize, sources);

    const uint32_t maximum = writer->maximumNumberOfChannels();
    if (writer->numberOfChannels() > maximum)
        losses += QStringLiteral("%1 files hold at most %2 channels, of %3 here.")
                      .arg(type)
                      .arg(maximum)
                      .arg(writer->numberOfChannels());
    // A size of samples that was chosen is no surprise, and that floats become integers has been told.
    const bool isPlain = request.optionTag == 0 || writer->encodesWithLoss();
    const bool isTold = sources.mostFloatBits > 0 && writer->storesIntegers();
    if (mAudioFile && request.uti == mFileTypeUTI && isPlain && !isTold)
        if (const QString change = encodingChange(*writer, *mAudioFile); !change.isEmpty())
            losses += change;
    losses += writer->soundLosses();
    if (writer->writtenSampleRate() != sampleRate())
        losses +=
            QStringLiteral("%1 files hold no rate of %2 Hz; played at %3 Hz the sound has another speed.")
                .arg(type, QString::number(sampleRate(), 'g', ratePrecision),
                     QString::number(writer->writtenSampleRate(), 'g', ratePrecision));
    if (const QString loss = markerLoss(*writer, type); !loss.isEmpty())
        losses += loss;
    if (request.selection && !request.isBetweenMarkers && hasMarkerWithin(*request.selection))
        losses += QStringLiteral("A part of a sound is saved without its markers.");
    losses += tagLosses(*writer, type);
    losses += tagChanges(*writer, mAudioFile.get(), type);
    if (mAudioFile) {
        losses += itemsNotWritten(mAudioFile->ledger(), *writer);
        losses +=
            staleChunks(*this, request, request.metadata.value_or(mAudioMetadata), *mAudioFile, *writer);
    }
    if (request.operation == SaveOperation::saveAs)
        if (const std::optional<QString> change = changeOfOwnFile(request))
            losses += *change;
    losses += FileReplacer::lossesWhenReplacing(request.path);
    return losses;
}

QString SoundDocument::lossesWhileComputing(const AudioFile& writer) const
{
    const TrackList tracks = audioTracks();
    const bool isLoud = anyComputedClip(*tracks, &ComputedClip::hasReadAboveFullScale);
    return isLoud && writer.storesIntegers() ? clippingLoss(writer.bitsPerSample()) : QString();
}

MaybeError SoundDocument::errorWhileComputing() const
{
    const TrackList tracks = audioTracks();
    return anyComputedClip(*tracks, &ComputedClip::hasReadInvalid) ? MaybeError(ComputedSound::notFinite())
                                                                   : std::nullopt;
}

} // namespace velloria
