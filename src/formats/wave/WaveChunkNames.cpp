#include "formats/wave/WaveChunkNames.h"

#include "formats/chunks/ChunkNames.h"
#include "formats/chunks/UnusedBytes.h"
#include "formats/wave/InfoList.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

constexpr auto chunkNames = std::to_array<ChunkName>({
    {fourCharCode("ID3 "), "tags"},
    {fourCharCode("id3 "), "tags"},
    {fourCharCode("MARK"), "markers"},
    {fourCharCode("uMrk"), "markers"},
    {fourCharCode("cue "), "cue points"},
    {fourCharCode("plst"), "playlist"},
    {fourCharCode("smpl"), "sampler loops"},
    {fourCharCode("inst"), "instrument"},
    {fourCharCode("acid"), "loop information"},
    {fourCharCode("strc"), "loop information"},
    {fourCharCode("cart"), "broadcast cart"},
    {fourCharCode("chna"), "channel description"},
    {fourCharCode("_PMX"), "XMP metadata"},
    {fourCharCode("data"), "more sound data"},
    {fourCharCode("fmt "), "another format"},
    {fourCharCode("bext"), "broadcast description"},
    {fourCharCode("iXML"), "recording notes"},
    {fourCharCode("axml"), "broadcast metadata"},
    {fourCharCode("qlty"), "quality report"},
    {fourCharCode("PEAK"), "peak levels"},
    {fourCharCode("levl"), "peak envelope"},
    {fourCharCode("mext"), "MPEG extension"},
    {fourCharCode("link"), "file links"},
    {fourCharCode("DISP"), "display text"},
    {fourCharCode("labl"), "cue labels"},
    {fourCharCode("note"), "cue notes"},
    {fourCharCode("ltxt"), "cue regions"},
});

constexpr auto infoNames = std::to_array<ChunkName>({
    {fourCharCode("IARL"), "archive location"},
    {fourCharCode("IART"), "artist"},
    {fourCharCode("ICMS"), "commissioner"},
    {fourCharCode("ICMT"), "comments"},
    {fourCharCode("ICOP"), "copyright"},
    {fourCharCode("ICRD"), "date"},
    {fourCharCode("IENG"), "engineer"},
    {fourCharCode("IGNR"), "genre"},
    {fourCharCode("IKEY"), "keywords"},
    {fourCharCode("ILNG"), "language"},
    {fourCharCode("IMED"), "medium"},
    {fourCharCode("IMUS"), "composer"},
    {fourCharCode("INAM"), "title"},
    {fourCharCode("IPRD"), "album"},
    {fourCharCode("IPRT"), "part"},
    {fourCharCode("ISBJ"), "subject"},
    {fourCharCode("ISRC"), "source"},
    {fourCharCode("ISRF"), "source form"},
    {fourCharCode("ITCH"), "technician"},
    {fourCharCode("ITRK"), "track number"},
    {fourCharCode("TRCK"), "track number"},
    {fourCharCode("YEAR"), "year"},
});

constexpr std::array fillerChunks = {
    fourCharCode("fact"), fourCharCode("JUNK"), fourCharCode("junk"),
    fourCharCode("PAD "), fourCharCode("pad "), fourCharCode("FLLR"),
    fourCharCode("fllr"), fourCharCode("Fake"), fourCharCode("ds64"),
};

constexpr size_t mostEntriesLookedAt = 1000;
constexpr int64_t listTypeLength = 4;

FourCharCode identAt(const FileHandle& handle, int64_t offset)
{
    const QByteArray bytes = handle.readAt(offset, 4);
    return bytes.size() == 4 ? qFromBigEndian<quint32>(bytes.constData()) : 0;
}

bool isFiller(FourCharCode ident)
{
    return std::find(fillerChunks.begin(), fillerChunks.end(), ident) != fillerChunks.end();
}

ByteRange rangeUpTo(int64_t end, const RiffChunk& chunk)
{
    return {chunk.payloadOffset(), std::max<int64_t>(0, std::min(chunk.end(), end) - chunk.payloadOffset())};
}

void declareInfoEntry(const RiffChunk& entry, ByteRange bytes, const WaveChunkFate& fate, FileLedger& ledger)
{
    const QString key = InfoList::keyOf(entry.ident);
    // Some programs put their name into every file.
    if (entry.size == 0 || entry.ident == fourCharCode("ISFT"))
        ledger.addStructure(bytes);
    else if (!key.isEmpty() && fate.keysTaken.contains(key))
        ledger.addInModel(bytes);
    else
        ledger.add({ItemKind::tag, fate.keeping, nameOfChunk(entry.ident, infoNames), bytes});
}

void declareList(ByteRange list, const FileHandle& handle, ChunkByteOrder byteOrder,
                 const WaveChunkFate& fate, FileLedger& ledger)
{
    const FourCharCode listType = identAt(handle, list.offset);
    const QString name = QStringLiteral("LIST (%1)").arg(nameOfChunk(listType, {}));
    const bool isInfo = listType == fourCharCode("INFO");
    if (list.length < listTypeLength || (!isInfo && listType != fourCharCode("adtl"))) {
        ledger.add({ItemKind::part, fate.keeping, name, list});
        return;
    }
    int64_t end = list.offset + listTypeLength;
    ledger.addStructure({list.offset, listTypeLength});
    RiffRegion region{end, list.end(), byteOrder};
    region.mostChunks = mostEntriesLookedAt;
    const RiffChunkList entries = RiffChunkList::ofFile(handle, region);
    for (const RiffChunk& entry : entries.chunks()) {
        const ByteRange bytes = rangeUpTo(list.end(), entry);
        ledger.addStructure({end, bytes.offset - end});
        if (isInfo)
            declareInfoEntry(entry, bytes, fate, ledger);
        else
            ledger.add({ItemKind::part, fate.keeping, nameOfChunk(entry.ident, chunkNames), bytes});
        end = bytes.end();
    }
    declareUnused(ledger, handle, {end, list.end() - end}, QStringLiteral("%1 bytes of ") + name);
}

} // namespace

QString nameOfWaveChunk(FourCharCode ident)
{
    return nameOfChunk(ident, chunkNames);
}

void declareWaveChunk(const RiffChunk& chunk, const FileHandle& handle, ChunkByteOrder byteOrder,
                      const WaveChunkFate& fate, FileLedger& ledger)
{
    const ByteRange bytes = rangeUpTo(handle.length(), chunk);
    if (chunk.size == 0 || isFiller(chunk.ident))
        ledger.addStructure(bytes);
    else if (chunk.ident == fourCharCode("LIST"))
        declareList(bytes, handle, byteOrder, fate, ledger);
    else
        ledger.add({ItemKind::part, fate.keeping, nameOfChunk(chunk.ident, chunkNames), bytes});
}

} // namespace velloria
