#include "document/MarkerSplitter.h"

#include "formats/AudioFileRegistry.h"
#include "formats/tags/ValueChanges.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr qsizetype kMostTitleCharacters = 245;
/// Bytes of a file name that the file systems in use take.
constexpr qsizetype kMostNameBytes = 255;

QString extensionOfType(const QString& uti)
{
    const AudioFileType* type = AudioFileRegistry::typeWithUTI(uti);
    return type ? type->defaultExtension : QString();
}

/// As much of the text as so many bytes can hold.
QString cutToBytes(QString text, qsizetype numBytes)
{
    while (text.toUtf8().size() > numBytes)
        text.chop(text.back().isLowSurrogate() ? 2 : 1);
    return text;
}

/// The file's name without the extension of a sound file: a title that ends in a full stop and something else
/// keeps it.
QString titleOf(const SoundDocument& document)
{
    const std::filesystem::path& path = document.filePath();
    const QString extension = displayName(path.extension()).mid(1);
    return AudioFileRegistry::typeWithExtension(extension) ? displayName(path.stem())
                                                           : document.displayName();
}

/// What the sound has and its pieces do not get. Title and number are each piece's own.
QStringList notHandedOn(const AudioMetadata& whole, const AudioMetadata& piece)
{
    AudioMetadata untitled = whole;
    untitled.setTitle(QString());
    MetadataDictionary tags = untitled.dictionary();
    for (const QString& key : {MetadataKey::trackNumber, MetadataKey::encodingApplication})
        tags.remove(key);
    QStringList losses;
    const QStringList missing = ValueChanges::differences(tags, piece.dictionary()).missing;
    if (!missing.isEmpty())
        losses +=
            QStringLiteral("The pieces do not get all tags: %1.").arg(missing.join(QStringLiteral(", ")));
    if (!whole.artwork().isEmpty() && piece.artwork().isEmpty())
        losses += QStringLiteral("The pieces do not get the pictures.");
    const auto hasOwnChunks = [](const AudioMetadata& metadata) {
        return !metadata.waveBWFChunks().isEmpty() || !metadata.aiffInstrumentChunk().isEmpty() ||
               !metadata.aiffMIDIChunk().isEmpty() || !metadata.aiffAudioRecordingChunk().isEmpty() ||
               !metadata.aiffCommentChunk().isEmpty();
    };
    if (hasOwnChunks(whole) && !hasOwnChunks(piece))
        losses += QStringLiteral("The pieces do not get the broadcast, instrument, MIDI and comment data.");
    return losses;
}

bool isTaken(const std::filesystem::path& path)
{
    std::error_code failure;
    // A link to nowhere takes its name, too.
    return std::filesystem::exists(std::filesystem::symlink_status(path, failure));
}

} // namespace

AudioMetadata MarkerSplitter::metadataForPieces(const SoundDocument& document)
{
    const AudioMetadata& source = document.audioMetadata();
    AudioMetadata metadata;
    metadata.setArtist(source.artist());
    metadata.setAlbumArtist(source.albumArtist());
    metadata.setAlbum(source.album());
    metadata.setGrouping(source.grouping());
    metadata.setComposer(source.composer());
    metadata.setTrackNumber(1);
    return metadata;
}

std::vector<MarkerSplitter::Piece> MarkerSplitter::piecesOf(const SoundDocument& document)
{
    const std::vector<AudioMarkerPtr>& markers = *document.orderedMarkers();
    const int64_t total = document.numberOfFrames();
    const auto within = [total](int64_t position) { return std::clamp<int64_t>(position, 0, total); };
    std::vector<Piece> pieces;
    if (!markers.empty() && markers.front()->position() > 0)
        pieces.push_back({titleOf(document), 0, within(markers.front()->position())});
    for (size_t i = 0; i < markers.size(); ++i) {
        const int64_t end = i + 1 < markers.size() ? markers[i + 1]->position() : total;
        pieces.push_back({markers[i]->name(), within(markers[i]->position()), within(end)});
    }
    std::erase_if(pieces, [](const Piece& piece) { return piece.end <= piece.start; });
    return pieces;
}

QString MarkerSplitter::filesystemFriendlyFilename(const QString& title)
{
    QString name = title.first(std::min(title.size(), kMostTitleCharacters));
    if (!name.isEmpty() && name.back().isHighSurrogate())
        name.chop(1);
    name.remove(QChar::Null);
    return name.replace(u':', u'-').replace(u'/', u':');
}

std::filesystem::path MarkerSplitter::pathForUniqueFile(const std::filesystem::path& folder,
                                                        const QString& name, const QString& extension)
{
    const QString ending = extension.isEmpty() ? QString() : u'.' + extension;
    for (int64_t number = 0;; ++number) {
        const QString suffix = (number == 0 ? QString() : u'-' + QString::number(number)) + ending;
        const QString fitting = cutToBytes(name, kMostNameBytes - suffix.toUtf8().size());
        std::filesystem::path path = folder / (fitting + suffix).toStdString();
        if (!isTaken(path))
            return path;
    }
}

MaybeError MarkerSplitter::refusal() const
{
    const auto notSplit = [](const QString& why) {
        return Error{Error::Code::failed, QStringLiteral("The sound was not split: %1.").arg(why)};
    };
    std::error_code failure;
    if (!std::filesystem::is_directory(mRequest.folder, failure))
        return notSplit(QStringLiteral("%1 is no folder").arg(displayPath(mRequest.folder)));
    if (mDocument.audioMarkers()->empty())
        return notSplit(QStringLiteral("it has no markers"));
    return std::nullopt;
}

MarkerSplitter::Outcome MarkerSplitter::run(Progress& progress)
{
    Outcome outcome;
    if ((outcome.error = refusal()))
        return outcome;
    progress.setTargetValue(mDocument.numberOfFrames());
    for (const Piece& piece : piecesOf(mDocument)) {
        mRequest.metadata.setTitle(piece.title);
        outcome.error = savePiece(piece, progress, outcome.paths);
        mRequest.metadata.setTrackNumber(mRequest.metadata.trackNumber() + 1);
        if (!outcome.error && progress.isCancelled())
            outcome.error = Error::cancelled();
        if (outcome.error)
            break;
    }
    return outcome;
}

SaveRequest MarkerSplitter::requestFor(int64_t start, int64_t end) const
{
    SaveRequest request;
    request.uti = mRequest.uti;
    request.operation = SaveOperation::saveTo;
    request.optionTag = mRequest.optionTag;
    const double rate = mDocument.sampleRate();
    request.selection = SoundSelection{static_cast<double>(start) / rate, static_cast<double>(end) / rate, 0,
                                       mDocument.trackCount()};
    request.isBetweenMarkers = true;
    request.metadata = mRequest.metadata;
    request.willReplace = mRequest.willReplace;
    return request;
}

QStringList MarkerSplitter::losses() const
{
    return mDocument.lossesWhenSaving(requestFor(0, mDocument.numberOfFrames())) +
           notHandedOn(mDocument.audioMetadata(), mRequest.metadata);
}

MaybeError MarkerSplitter::savePiece(const Piece& piece, Progress& progress,
                                     std::vector<std::filesystem::path>& paths)
{
    QString name = filesystemFriendlyFilename(piece.title);
    // Nothing but an extension would be a hidden file, as would be a name that begins with a point.
    if (name.isEmpty())
        name = QStringLiteral("Untitled");
    else if (name.startsWith(u'.'))
        name[0] = u'_';
    if (mRequest.addPrefix)
        name = QString::number(mRequest.metadata.trackNumber()).rightJustified(2, u'0') + u' ' + name;
    SaveRequest request = requestFor(piece.start, piece.end);
    request.path = pathForUniqueFile(mRequest.folder, name, extensionOfType(mRequest.uti));
    progress.setTitle(QStringLiteral("Saving file \"%1\"").arg(displayName(request.path)));
    MaybeError error = mDocument.writeToPath(request, progress);
    if (!error)
        paths.push_back(request.path);
    return error;
}

} // namespace velloria
