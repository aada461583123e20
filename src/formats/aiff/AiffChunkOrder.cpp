// Which chunks an AIFF file gets, and in which order: those of the file that was opened, as they stand there.
#include "formats/aiff/AiffFields.h"
#include "formats/aiff/AiffFile.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

constexpr FourCharCode commonIdent = fourCharCode("COMM");
constexpr FourCharCode versionIdent = fourCharCode("FVER");
constexpr FourCharCode soundIdent = fourCharCode("SSND");
constexpr FourCharCode markerIdent = fourCharCode("MARK");
constexpr FourCharCode unicodeMarkerIdent = fourCharCode("uMrk");
constexpr FourCharCode tagIdent = fourCharCode("ID3 ");
constexpr uint32_t versionOfAifc = 0xA2805140;

// What is made for each file by itself, or of which a second one means nothing.
constexpr std::array structureIdents = {commonIdent, versionIdent, soundIdent, markerIdent, tagIdent};
// What counts frames of the sound.
constexpr std::array positionIdents = {fourCharCode("SAXL"), fourCharCode("trns")};

template <size_t kCount> bool contains(const std::array<FourCharCode, kCount>& idents, FourCharCode ident)
{
    return std::ranges::find(idents, ident) != idents.end();
}

QByteArray chunkOf(FourCharCode ident, const QByteArray& payload)
{
    return riffChunkHeader(ident, payload.size(), ChunkByteOrder::bigEndian) + payload;
}

/// Some programs skip the pad bytes only of chunks that they know, so this one needs none: a byte behind the
/// archive does not matter to its reader.
QByteArray evenArchiveOf(const MarkerList& markers)
{
    const QByteArray archive = archivedMarkers(markers);
    return archive + QByteArray(archive.size() % 2, '\0');
}

bool isStoredWhole(const AudioMarkerPtr& marker)
{
    const QByteArray name = AiffMarkers::storedName(marker->name());
    return aiffTextOf(name) == marker->name();
}

} // namespace

/// The file whose chunks this one gets; null for a new file.
const AiffFile* AiffFile::editedFile() const
{
    const auto* const opened = dynamic_cast<const AiffFile*>(AudioFile::openedFile().get());
    return opened && !opened->chunks().chunks().empty() ? opened : nullptr;
}

bool AiffFile::sharesTagWith(const ChunkedFile& opened) const
{
    return dynamic_cast<const AiffFile*>(&opened) != nullptr;
}

const std::vector<AudioMarkerPtr>& AiffFile::markersNow() const
{
    static const std::vector<AudioMarkerPtr> none;
    return mMarkers ? *mMarkers : none;
}

bool AiffFile::hasSameMarkersAs(const AiffFile& edited) const
{
    return archivedMarkers(mMarkers) == edited.mMarkersAsRead;
}

/// Whether the model was read from it.
bool AiffFile::isModelChunk(const RiffChunk& chunk) const
{
    return std::ranges::find(mModelOffsets, chunk.offset) != mModelOffsets.end();
}

/// Whether a chunk of this file can stay as it is in another one.
bool AiffFile::canCarryOver(const RiffChunk& chunk) const
{
    return chunk.isComplete && chunk.size <= largestKeptChunk && !contains(structureIdents, chunk.ident);
}

/// Whether a chunk of the edited file that is not in the model stays as it is.
bool AiffFile::carriesOver(const AiffFile& edited, const RiffChunk& chunk) const
{
    if (!edited.canCarryOver(chunk))
        return false;
    if (chunk.ident == fourCharCode("PEAK"))
        return keptSound() != nullptr;
    if (chunk.ident == fourCharCode("CHAN"))
        return mNumberOfChannels == edited.mNumberOfChannels;
    return !contains(positionIdents, chunk.ident) ||
           (mNumberOfFrames == edited.mNumberOfFrames && mSampleRate == edited.mSampleRate);
}

/// Of the first chunk of that name; empty for none.
QByteArray AiffFile::payloadIn(const AiffFile& edited, FourCharCode ident) const
{
    const RiffChunk* const chunk = edited.chunks().find(ident);
    return chunk && chunk->isComplete && chunk->size <= largestKeptChunk ? edited.payloadOf(*chunk)
                                                                         : QByteArray();
}

/// As it was where it means the same, with the number of frames.
QByteArray AiffFile::formatPayload() const
{
    const AiffFormat now = formatToWrite();
    const AiffFile* const edited = editedFile();
    QByteArray payload = edited ? payloadIn(*edited, commonIdent) : QByteArray();
    const qsizetype shortest = isCompressed() ? AiffFormat::compressedLength : AiffFormat::plainLength;
    if (payload.size() < shortest || edited->isCompressed() != isCompressed())
        return now.payload();
    const AiffFormat before = AiffFormat::ofPayload(payload, isCompressed());
    const bool isSame = before.numChannels == now.numChannels && before.sampleRate == now.sampleRate &&
                        before.compressionType == now.compressionType &&
                        (before.bitsPerSample == now.bitsPerSample || keptSound());
    constexpr qsizetype numFramesOffset = 2;
    qToBigEndian<quint32>(now.numFrames, payload.data() + numFramesOffset);
    return isSame ? payload : now.payload();
}

QByteArray AiffFile::versionPayload() const
{
    if (!isCompressed())
        return {};
    const AiffFile* const edited = editedFile();
    QByteArray version = edited ? payloadIn(*edited, versionIdent) : QByteArray();
    if (version.isEmpty()) {
        version.resize(4);
        qToBigEndian<quint32>(versionOfAifc, version.data());
    }
    return version;
}

QByteArray AiffFile::markerPayload() const
{
    const AiffFile* const edited = editedFile();
    if (edited && hasSameMarkersAs(*edited))
        return payloadIn(*edited, markerIdent);
    if (!edited || edited->mMarkList.isEmpty())
        return markersNow().empty() ? QByteArray() : AiffMarkers::payloadOfMarkers(markersNow());
    return edited->mMarkList.edited(markersNow(), AiffMarkers::identsNamed(mMetadata.aiffInstrumentChunk(),
                                                                           mMetadata.aiffCommentChunk()));
}

/// A file of another program gets our private chunk where its own has no room for the markers.
QByteArray AiffFile::archivePayload() const
{
    const AiffFile* const edited = editedFile();
    if (edited && hasSameMarkersAs(*edited))
        return edited->mHasArchive ? payloadIn(*edited, unicodeMarkerIdent) : QByteArray();
    const bool isNeeded = !edited || edited->mHasArchive || edited->mMarkList.isEmpty() ||
                          std::ssize(markersNow()) > AiffMarkers::mostMarkers ||
                          !std::ranges::all_of(markersNow(), isStoredWhole);
    return isNeeded && !markersNow().empty() ? evenArchiveOf(mMarkers) : QByteArray();
}

/// As it was where its value is; a new value gets a chunk where no tag holds it.
QByteArray AiffFile::textPayload(const AiffTextField& field) const
{
    const QString& now = (mMetadata.*field.value)();
    const AiffFile* const edited = editedFile();
    if (!edited)
        return aiffTextPayload(now);
    const bool isSame = (edited->metadata().*field.value)() == now;
    const bool hasChunk = edited->textChunk(field.ident) != nullptr;
    if (isSame)
        return hasChunk ? payloadIn(*edited, field.ident) : QByteArray();
    return hasChunk || !edited->chunks().find(tagIdent) ? aiffTextPayload(now) : QByteArray();
}

/// True for a file whose tags stand in text chunks alone, as long as these have room for all of them.
bool AiffFile::textsHoldAllTags() const
{
    const AiffFile* const edited = editedFile();
    const bool hasTexts = edited && std::ranges::any_of(aiffTextFields, [edited](const AiffTextField& field) {
                              return edited->textChunk(field.ident) != nullptr;
                          });
    if (!hasTexts || edited->chunks().find(tagIdent))
        return false;
    AudioMetadata found;
    for (const AiffTextField& field : aiffTextFields)
        (found.*field.setValue)(aiffTextOf(textPayload(field)));
    return found.dictionary() == mMetadata.dictionary();
}

MetadataDictionary AiffFile::writtenTags() const
{
    return textsHoldAllTags() ? mMetadata.dictionary() : ChunkedFile::writtenTags();
}

AiffFile::ModelChunk AiffFile::tagChunk() const
{
    return {tagIdent, textsHoldAllTags() ? QByteArray() : id3Chunk(ChunkByteOrder::bigEndian)};
}

/// In front of the sound of a new file, in this order; those that are empty are left out.
std::vector<AiffFile::ModelChunk> AiffFile::modelChunks() const
{
    std::vector<ModelChunk> made;
    const auto add = [&made](FourCharCode ident, const QByteArray& payload) {
        if (!payload.isEmpty())
            made.push_back({ident, chunkOf(ident, payload)});
    };
    add(versionIdent, versionPayload());
    add(commonIdent, formatPayload());
    add(markerIdent, markerPayload());
    add(unicodeMarkerIdent, archivePayload());
    for (const AiffTextField& field : aiffTextFields)
        add(field.ident, textPayload(field));
    for (const AiffRawField& field : aiffRawFields)
        add(field.ident, (mMetadata.*field.payload)());
    return made;
}

AiffFile::ChunkPlan AiffFile::newPlan() const
{
    ChunkPlan plan;
    for (const ModelChunk& chunk : modelChunks())
        plan.inFront.push_back({chunk.bytes});
    // Unlike the other chunks without a pad byte: it is the last one.
    if (const ModelChunk tag = tagChunk(); !tag.bytes.isEmpty())
        plan.behind.push_back({tag.bytes, {}, false});
    return plan;
}

/// The next chunk of that name would become the value that somebody took away.
void AiffFile::putEmptyInFrontOfAnother(const AiffFile& edited, const RiffChunk& chunk,
                                        std::vector<ChunkToWrite>& place)
{
    const bool isText =
        std::ranges::find(aiffTextFields, chunk.ident, &AiffTextField::ident) != aiffTextFields.end();
    const bool isGone = place.empty() || !place.back().bytes.startsWith(fourCharText(chunk.ident));
    const auto isSame = [&chunk](const RiffChunk& each) { return each.ident == chunk.ident; };
    if (isText && isGone && std::ranges::count_if(edited.chunks().chunks(), isSame) > 1)
        place.push_back({chunkOf(chunk.ident, {})});
}

AiffFile::ChunkPlan AiffFile::chunkPlan() const
{
    const AiffFile* const edited = editedFile();
    if (!edited)
        return newPlan();
    std::vector<ModelChunk> made = modelChunks();
    if (const ModelChunk tag = tagChunk(); !tag.bytes.isEmpty())
        made.push_back(tag);
    ChunkPlan plan;
    std::vector<ChunkToWrite>* place = &plan.inFront;
    // Where there is one.
    const auto put = [&](FourCharCode ident) {
        const auto found = std::ranges::find(made, ident, &ModelChunk::ident);
        if (found == made.end())
            return false;
        place->push_back({found->bytes});
        made.erase(found);
        return true;
    };
    if (!edited->chunks().find(versionIdent))
        put(versionIdent);
    for (const RiffChunk& chunk : edited->chunks().chunks()) {
        const bool isFirst = edited->chunks().find(chunk.ident)->offset == chunk.offset;
        const bool isModel = isFirst && (chunk.ident == commonIdent || chunk.ident == versionIdent ||
                                         edited->isModelChunk(chunk));
        if (isFirst && chunk.ident == soundIdent)
            place = &plan.behind;
        else if (isModel && (put(chunk.ident) || chunk.size > 0))
            putEmptyInFrontOfAnother(*edited, chunk, *place);
        else if (carriesOver(*edited, chunk))
            place->push_back({{}, {chunk.offset, chunk.end() - chunk.offset}});
    }
    for (const ModelChunk& chunk : made)
        plan.behind.push_back({chunk.bytes});
    const RiffChunk& last = edited->chunks().chunks().back();
    if (!plan.behind.empty())
        plan.behind.back().isPadded = last.size % 2 == 0 || last.end() < edited->lengthOfFile();
    return plan;
}

bool AiffFile::willWrite(const FileItem& item) const
{
    const AiffFile* const edited = editedFile();
    if (item.keeping != Keeping::asBytes || !edited)
        return ChunkedFile::willWrite(item);
    const auto holds = [&item](const RiffChunk& chunk) {
        return item.bytes.offset >= chunk.payloadOffset() && item.bytes.offset < chunk.end();
    };
    const auto chunk = std::ranges::find_if(edited->chunks().chunks(), holds);
    if (chunk == edited->chunks().chunks().end())
        return false;
    if (chunk->ident == markerIdent)
        return hasSameMarkersAs(*edited);
    return edited->isModelChunk(*chunk) || carriesOver(*edited, *chunk);
}

/// The next save edits what was written.
void AiffFile::takeOverLedger()
{
    ChunkedFile::takeOverLedger();
    const auto written = std::dynamic_pointer_cast<AiffFile>(reopened());
    if (!written)
        return;
    mLedger = written->ledger();
    setChunks(written->chunks());
    mFormat = written->mFormat;
    mMarkList = written->mMarkList;
    mMarkList.pairWith(markersNow());
    mNumbering = written->mNumbering;
    mHasArchive = written->mHasArchive;
    mMarkersAsRead = archivedMarkers(mMarkers);
    mModelOffsets = written->mModelOffsets;
}

} // namespace velloria
