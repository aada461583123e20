// Which chunks a WAVE file gets, and in which order: those of the file that was opened, as they stand there.
#include "formats/wave/WaveChunkNames.h"
#include "formats/wave/WaveFile.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

constexpr FourCharCode listIdent = fourCharCode("LIST");
constexpr FourCharCode tagIdent = fourCharCode("ID3 ");
constexpr FourCharCode lowerCaseTagIdent = fourCharCode("id3 ");

// What is made for each file by itself, or stands for the sound.
constexpr std::array structureIdents = {fourCharCode("fmt "), fourCharCode("data"), fourCharCode("ds64")};
// What the model has, or could have.
constexpr std::array modelIdents = {tagIdent, lowerCaseTagIdent, fourCharCode("MARK")};
// What counts frames of the sound.
constexpr std::array positionIdents = {fourCharCode("cue "), fourCharCode("smpl"), fourCharCode("plst"),
                                       fourCharCode("adtl")};

template <size_t kCount> bool contains(const std::array<FourCharCode, kCount>& idents, FourCharCode ident)
{
    return std::ranges::find(idents, ident) != idents.end();
}

QByteArray chunkWithPayload(FourCharCode ident, const QByteArray& payload)
{
    return riffChunkHeader(ident, payload.size()) + payload;
}

/// Both names of a tag are one.
FourCharCode identOf(const QByteArray& chunk)
{
    const auto ident = qFromBigEndian<quint32>(chunk.constData());
    return ident == lowerCaseTagIdent ? tagIdent : ident;
}

} // namespace

/// The file whose chunks this one gets; null for a new file.
const WaveFile* WaveFile::editedFile() const
{
    const WaveFile* const opened = openedWave();
    return opened && opened->isLittleEndian() && !opened->chunks().chunks().empty() ? opened : nullptr;
}

bool WaveFile::holdsSoundAsLongAs(const WaveFile& other) const
{
    return mNumberOfFrames == other.mNumberOfFrames && mSampleRate == other.mSampleRate;
}

/// The type of a list, else the name of the chunk.
FourCharCode WaveFile::kindOf(const RiffChunk& chunk) const
{
    if (chunk.ident != listIdent)
        return chunk.ident;
    const QByteArray type = readRawDataAtOffset(chunk.payloadOffset(), 4);
    return type.size() == 4 ? qFromBigEndian<quint32>(type.constData()) : listIdent;
}

/// Whether a chunk of this file can stay as it is in another one.
bool WaveFile::canCarryOver(const RiffChunk& chunk) const
{
    return isLittleEndian() && chunk.isComplete && chunk.size <= largestKeptChunk &&
           !contains(structureIdents, chunk.ident) && !contains(modelIdents, chunk.ident);
}

/// Whether a chunk of the edited file that is not in the model stays as it is.
bool WaveFile::carriesOver(const WaveFile& edited, const RiffChunk& chunk) const
{
    const FourCharCode kind = edited.kindOf(chunk);
    if (!edited.canCarryOver(chunk))
        return false;
    if (kind == fourCharCode("PEAK"))
        return mKeptEncoding.has_value();
    return !contains(positionIdents, kind) || holdsSoundAsLongAs(edited);
}

/// Markers, tags and what is kept of Broadcast Wave, in the order in which a new file has them.
std::vector<QByteArray> WaveFile::modelChunks() const
{
    std::vector<QByteArray> made;
    if (const QByteArray markers = ownMarkerChunk(); !markers.isEmpty())
        made.push_back(markers);
    if (const QByteArray tag = id3Chunk(ChunkByteOrder::littleEndian); !tag.isEmpty() && !infoHoldsAllTags())
        made.push_back(tag);
    for (const QByteArray& chunk : mMetadata.waveBWFChunks())
        made.push_back(chunk);
    return made;
}

/// The texts of the opened file with what was changed since; empty where it has none.
InfoList WaveFile::infoToWrite() const
{
    const WaveFile* const edited = editedFile();
    if (!edited)
        return {};
    InfoList info = edited->mInfo;
    if (!info.isEmpty())
        info.setTags(edited->metadata().dictionary(), mMetadata.dictionary(), !edited->mHasTagChunk);
    return info;
}

/// True for a file whose tags stand in that list alone, as long as it has room for all of them.
bool WaveFile::infoHoldsAllTags() const
{
    const WaveFile* const edited = editedFile();
    if (!edited || edited->mHasTagChunk || edited->mInfo.isEmpty())
        return false;
    AudioMetadata found;
    found.setValuesWithDictionary(infoToWrite().dictionary());
    return found.dictionary() == mMetadata.dictionary();
}

MetadataDictionary WaveFile::writtenTags() const
{
    if (infoHoldsAllTags())
        return mMetadata.dictionary();
    // Where the tag says nothing, the texts count.
    AudioMetadata found;
    found.setValuesWithDictionary(infoToWrite().dictionary());
    MetadataDictionary tags = found.dictionary();
    tags.insert(ChunkedFile::writtenTags());
    return tags;
}

QByteArray WaveFile::factChunk(const QByteArray& payload) const
{
    QByteArray fact = payload;
    if (fact.size() >= 4)
        qToLittleEndian(static_cast<quint32>(std::min(mNumberOfFrames, largestFileOf32Bits)), fact.data());
    return chunkWithPayload(fourCharCode("fact"), fact);
}

/// A chunk of the edited file that the model does not make as a whole, `isFirst` of its kind: edited, copied,
/// or nothing.
std::optional<WaveFile::ChunkToWrite> WaveFile::otherChunk(const WaveFile& edited, const RiffChunk& chunk,
                                                           bool isFirst) const
{
    const auto madeOf = [&chunk](const QByteArray& payload) {
        return payload.isEmpty() ? std::nullopt
                                 : std::optional(ChunkToWrite{chunkWithPayload(chunk.ident, payload)});
    };
    if (isFirst && edited.kindOf(chunk) == fourCharCode("INFO") && !edited.mInfo.isEmpty())
        return madeOf(infoToWrite().payload());
    const auto cues = cueEdit().payloads.find(chunk.payloadOffset());
    if (cues != cueEdit().payloads.end())
        return madeOf(cues->second);
    if (!carriesOver(edited, chunk))
        return std::nullopt;
    return ChunkToWrite{{}, {chunk.offset, chunk.end() - chunk.offset}};
}

WaveFile::ChunkPlan WaveFile::chunkPlan() const
{
    ChunkPlan plan;
    std::vector<QByteArray> made = modelChunks();
    // Taken in their places, else behind all others.
    const auto take = [&made](FourCharCode ident) {
        const auto found = std::ranges::find(made, ident, identOf);
        QByteArray chunk = found == made.end() ? QByteArray() : *found;
        if (found != made.end())
            made.erase(found);
        return chunk;
    };
    const QByteArray format = chunkWithPayload(
        fourCharCode("fmt "), mKeptEncoding ? mKeptEncoding->format : formatToWrite().payload());
    QByteArray fact;
    if (mKeptEncoding && !mKeptEncoding->fact.isEmpty())
        fact = chunkWithPayload(fourCharCode("fact"), mKeptEncoding->fact);
    const WaveFile* const edited = editedFile();
    if (!edited || !edited->chunks().find(fourCharCode("fmt "))) {
        plan.inFront = {{format, {}}, {fact, {}}};
        addNewChunks(made, plan);
        return plan;
    }
    std::vector<ChunkToWrite>* place = &plan.inFront;
    std::vector<FourCharCode> seen;
    for (const RiffChunk& chunk : edited->chunks().chunks()) {
        const bool isTag = chunk.ident == tagIdent || chunk.ident == lowerCaseTagIdent;
        const FourCharCode ident = isTag ? tagIdent : chunk.ident;
        const FourCharCode kind = edited->kindOf(chunk);
        const bool isFirst = std::ranges::find(seen, kind) == seen.end();
        seen.push_back(kind);
        if (isFirst && ident == fourCharCode("fmt ")) {
            place->push_back({format, {}});
            if (!edited->chunks().find(fourCharCode("fact")))
                place->push_back({fact, {}});
        } else if (isFirst && ident == fourCharCode("data")) {
            place = &plan.behind;
        } else if (isFirst && ident == fourCharCode("fact")) {
            if (!mKeptEncoding && edited->mFormat.isPCM() && chunk.isComplete)
                fact = factChunk(edited->payloadOf(chunk));
            place->push_back({fact, {}});
        } else if (std::ranges::find(edited->mModelOffsets, chunk.offset) != edited->mModelOffsets.end()) {
            place->push_back({take(ident), {}});
        } else if (const auto other = otherChunk(*edited, chunk, isFirst)) {
            place->push_back(*other);
        }
    }
    addNewChunks(made, plan);
    return plan;
}

/// Behind all others; cue points last, so that what a file had before they were written stands where it
/// stood.
void WaveFile::addNewChunks(const std::vector<QByteArray>& made, ChunkPlan& plan) const
{
    for (const QByteArray& chunk : made)
        plan.behind.push_back({chunk, {}});
    if (!cueEdit().newPoints.isEmpty())
        plan.behind.push_back({chunkWithPayload(fourCharCode("cue "), cueEdit().newPoints), {}});
    if (!cueEdit().newTexts.isEmpty())
        plan.behind.push_back({chunkWithPayload(listIdent, cueEdit().newTexts), {}});
}

bool WaveFile::willWrite(const FileItem& item) const
{
    const WaveFile* const edited = editedFile();
    if (item.keeping != Keeping::asBytes || !edited)
        return ChunkedFile::willWrite(item);
    if (item.bytes.length == 0)
        return keepsFormat() || mKeptEncoding || ChunkedFile::willWrite(item);
    if (const auto keeps = keepsItemOfMarkers(*edited, item))
        return *keeps;
    return std::ranges::any_of(edited->chunks().chunks(), [&](const RiffChunk& chunk) {
        const bool isInside = item.bytes.offset >= chunk.offset && item.bytes.offset < chunk.end();
        return isInside && carriesOver(*edited, chunk);
    });
}

/// The next save edits what was written.
void WaveFile::takeOverLedger()
{
    ChunkedFile::takeOverLedger();
    const auto written =
        mFileHandle ? std::dynamic_pointer_cast<WaveFile>(open(mFileHandle, nullptr)) : nullptr;
    if (!written)
        return;
    mLedger = written->ledger();
    setChunks(written->chunks());
    mInfo = written->mInfo;
    mHasTagChunk = written->mHasTagChunk;
    mModelOffsets = written->mModelOffsets;
    takeOverMarkers(*written);
}

} // namespace velloria
