#include "formats/wave/WaveChunkNames.h"

#include "formats/chunks/ChunkNames.h"

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
    {fourCharCode("bext"), "broadcast description"},
    {fourCharCode("iXML"), "recording notes"},
    {fourCharCode("axml"), "broadcast metadata"},
    {fourCharCode("qlty"), "quality report"},
    {fourCharCode("levl"), "peak envelope"},
});

constexpr std::array fillerChunks = {
    fourCharCode("fact"), fourCharCode("PEAK"), fourCharCode("JUNK"), fourCharCode("junk"),
    fourCharCode("PAD "), fourCharCode("pad "), fourCharCode("FLLR"), fourCharCode("fllr"),
    fourCharCode("Fake"), fourCharCode("ds64"),
};

constexpr size_t mostEntriesLookedAt = 16;

FourCharCode identAt(const FileHandle& handle, int64_t offset)
{
    const QByteArray bytes = handle.readAt(offset, 4);
    return bytes.size() == 4 ? qFromBigEndian<quint32>(bytes.constData()) : 0;
}

/// An INFO list whose only entry is the writing program's name, as some programs put into every file.
bool namesOnlyTheWriter(const RiffChunk& chunk, const FileHandle& handle)
{
    if (identAt(handle, chunk.payloadOffset()) != fourCharCode("INFO"))
        return false;
    constexpr int64_t listTypeLength = 4;
    const RiffChunkList entries = RiffChunkList::ofFile(handle, chunk.payloadOffset() + listTypeLength,
                                                        chunk.end(), mostEntriesLookedAt);
    const auto isOfTheWriter = [](const RiffChunk& entry) { return entry.ident == fourCharCode("ISFT"); };
    return entries.chunks().size() < mostEntriesLookedAt &&
           std::all_of(entries.chunks().begin(), entries.chunks().end(), isOfTheWriter);
}

} // namespace

bool isDispensableWaveChunk(const RiffChunk& chunk, const FileHandle& handle)
{
    if (chunk.size == 0)
        return true;
    if (chunk.ident == fourCharCode("LIST"))
        return namesOnlyTheWriter(chunk, handle);
    return std::find(fillerChunks.begin(), fillerChunks.end(), chunk.ident) != fillerChunks.end();
}

QString nameOfWaveChunk(const RiffChunk& chunk, const FileHandle& handle)
{
    if (chunk.ident == fourCharCode("LIST")) {
        const FourCharCode listType = identAt(handle, chunk.payloadOffset());
        return QStringLiteral("LIST (%1)").arg(QString::fromLatin1(fourCharText(listType)));
    }
    return nameOfChunk(chunk.ident, chunkNames);
}

} // namespace velloria
