#include "document/BroadcastChunks.h"

#include "document/clips/MutableAudioClip.h"
#include "formats/file/AudioFile.h"
#include "formats/saving/SaveLoop.h"
#include "formats/wave/BroadcastWave.h"

#include <cmath>

namespace velloria
{

namespace
{

/// Where the first sample of a clip stood in the file that the chunks were read from.
struct Origin {
    int64_t frame = 0;
    double sampleRate = 0.0;
    /// Of that file.
    int64_t numFrames = 0;
    int64_t numChannels = 0;
    int64_t channel = 0;
};

/// Finds out which clips hold sound of the file that the chunks were read from.
class Origins
{
public:
    Origins(const QList<QByteArray>& read, const AudioFile& file)
        : mRead(read)
        , mFile(file)
    {
    }

    /// Nothing for silence and for sound that was computed, recorded or pasted. `clip` is of that track.
    std::optional<Origin> of(const AudioClip& clip, const FrameSource& document, int32_t track) const
    {
        if (const auto* const source = dynamic_cast<const AudioFile*>(clip.sourceFile().get())) {
            // Files of the same recording share the time, so it does not matter which of them it is.
            if (source->metadata().waveBWFChunks() != mRead)
                return std::nullopt;
            return Origin{clip.sourceOffset(), source->sampleRate(), source->numberOfFrames(),
                          source->channelCount(), clip.channelIndex()};
        }
        const auto* const scratch = decoded(clip);
        if (!scratch || !isOnlyDecoded(*scratch, *(*document.audioTracks())[static_cast<size_t>(track)]))
            return std::nullopt;
        return Origin{clip.sourceOffset(), scratch->sampleRate(), mFile.numberOfFrames(),
                      document.trackCount(), track};
    }

private:
    /// Sound that was computed has no width of samples.
    static const MutableAudioClip* decoded(const AudioClip& clip)
    {
        const auto* const scratch = dynamic_cast<const MutableAudioClip*>(&clip);
        return scratch && scratch->storedSamples().bits > 0 ? scratch : nullptr;
    }

    /// A scratch file does not say which file was decoded into it. Where there are two, one was pasted.
    static bool isOnlyDecoded(const MutableAudioClip& clip, const AudioTrack& track)
    {
        bool isOnly = true;
        track.clips().forEachFrom(0, [&](const AudioClipPtr& each, int64_t) {
            const MutableAudioClip* const other = decoded(*each);
            isOnly = !other || other->tempFile() == clip.tempFile();
            return isOnly;
        });
        return isOnly;
    }

    const QList<QByteArray>& mRead;
    const AudioFile& mFile;
};

/// The start of the saved sound, in frames of a recording.
struct Start {
    /// From the recording's own start on.
    int64_t frame = 0;
    double sampleRate = 0.0;
    /// The time at the recording's start, where it has one.
    std::optional<int64_t> reference;
};

int64_t scaled(int64_t frame, double from, double to)
{
    return from == to ? frame : std::llround(static_cast<double>(frame) * (to / from));
}

/// When effects computed all of the sound anew, its length is all that is left to tell: where that is what it
/// was, the start is taken to be, too.
std::optional<Start> startByLength(const FrameSource& document, const SaveRange& range, const AudioFile& file)
{
    const int64_t length = scaled(file.numberOfFrames(), file.sampleRate(), document.sampleRate());
    if (std::abs(length - document.numberOfFrames()) > 1)
        return std::nullopt;
    return Start{scaled(range.startFrame, document.sampleRate(), file.sampleRate()), file.sampleRate(),
                 BroadcastWave::timeReference(file.metadata().waveBWFChunks())};
}

/// The first clip of the recording tells where the start is. When sound of another origin stands before it,
/// it does only if it has not moved itself. Nothing when the start cannot be told.
std::optional<Start> startOf(const FrameSource& document, const SaveRange& range,
                             const QList<QByteArray>& read, const AudioFile& file)
{
    const Origins origins(read, file);
    const AudioTrackPtr track = (*document.audioTracks())[static_cast<size_t>(range.firstTrack)];
    std::optional<Origin> first;
    int64_t before = 0;
    track->clipsAtOffset(range.startFrame, range.numFrames)
        .forEachFrom(0, [&](const AudioClipPtr& clip, int64_t position) {
            first = origins.of(*clip, document, range.firstTrack);
            before = position;
            return !first;
        });
    if (!first)
        return startByLength(document, range, file);
    if (before > 0 && first->frame != range.startFrame + before)
        return std::nullopt;
    return Start{first->frame - before, first->sampleRate, BroadcastWave::timeReference(read)};
}

/// True when every sample stands where it stood in the file.
bool isUnchanged(const FrameSource& document, const SaveRange& range, const QList<QByteArray>& read,
                 const AudioFile& file)
{
    if (range.numTracks != document.trackCount() || range.numFrames != document.numberOfFrames())
        return false;
    const Origins origins(read, file);
    bool isSo = true;
    for (int32_t i = 0; i < range.numTracks && isSo; ++i) {
        const AudioTrackPtr track = (*document.audioTracks())[static_cast<size_t>(i)];
        track->clips().forEachFrom(0, [&](const AudioClipPtr& clip, int64_t position) {
            const std::optional<Origin> origin = origins.of(*clip, document, i);
            isSo = origin && origin->frame == position && origin->channel == i &&
                   origin->numFrames == track->length() && origin->numChannels == range.numTracks;
            return isSo;
        });
    }
    return isSo;
}

QString timeStampLoss(const QString& chunk)
{
    return QStringLiteral("The time stamp of the recording (%1) is that of the original's start.").arg(chunk);
}

/// What a person should know of a time stamp that is not the one in the file; empty for one that is.
QString movedStamp(int64_t time, double sampleRate, const AudioFile& file)
{
    const std::optional<int64_t> inFile = BroadcastWave::timeReference(file.metadata().waveBWFChunks());
    const int64_t moved = inFile ? time - scaled(*inFile, file.sampleRate(), sampleRate) : 0;
    return moved == 0 ? QString()
                      : QStringLiteral("The time stamp of the recording (bext) moves with the start of the "
                                       "sound, by %1 frames.")
                            .arg(moved);
}

/// Frames from midnight to the start at another rate; below 0 for one before midnight.
int64_t timeOf(const Start& start, int64_t reference, double sampleRate)
{
    return scaled(start.reference.value_or(reference) + start.frame, start.sampleRate, sampleRate);
}

/// One sentence for each chunk with measurements of the sound, for when it was changed.
QStringList measurementsIn(const QList<QByteArray>& read)
{
    QStringList sentences;
    if (BroadcastWave::hasPeakEnvelope(read))
        sentences += QStringLiteral("The peak envelope (levl) is that of the sound as it was opened.");
    if (BroadcastWave::hasLoudness(read))
        sentences += QStringLiteral("The noted loudness (bext) is that of the sound as it was opened.");
    return sentences;
}

} // namespace

BroadcastChunks BroadcastChunks::forSaving(const FrameSource& document,
                                           const std::optional<SoundSelection>& selection,
                                           const QList<QByteArray>& read, const AudioFile& file)
{
    const SaveRange range =
        selection ? SaveRange::ofSelection(document, *selection)
                  : SaveRange::ofDocument(document, static_cast<uint32_t>(document.trackCount()));
    BroadcastChunks result{read, {}};
    if (read.isEmpty() || range.numTracks == 0)
        return result;
    const std::optional<int64_t> reference = BroadcastWave::timeReference(read);
    const std::optional<Start> start = startOf(document, range, read, file);
    const int64_t time = start && reference ? timeOf(*start, *reference, document.sampleRate()) : -1;
    if (time >= 0) {
        result.chunks = BroadcastWave::withTimeReference(read, time);
        // A part of a sound starts elsewhere, as everybody knows.
        if (const QString moved = movedStamp(time, document.sampleRate(), file);
            !selection && !moved.isEmpty())
            result.losses += moved;
    } else if (reference)
        result.losses += timeStampLoss(QStringLiteral("bext"));
    const bool hasMoved = !start || start->frame != 0 || start->reference != reference;
    if (hasMoved && BroadcastWave::hasTimeInText(read))
        result.losses += timeStampLoss(QStringLiteral("iXML"));
    const QStringList measured = measurementsIn(read);
    if (!measured.isEmpty() && !isUnchanged(document, range, read, file))
        result.losses += measured;
    return result;
}

} // namespace velloria
