#include "formats/caf/CafChunkNames.h"

#include "formats/chunks/ChannelLayout.h"
#include "formats/chunks/ChunkNames.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

// What follows from the format or the order of packets, and filler.
constexpr std::array fillerChunks = {CafChunkType::packetTable, fourCharCode("kuki"), fourCharCode("free")};

constexpr auto chunkNames = std::to_array<ChunkName>({
    {fourCharCode("data"), "more sound data"},
    {fourCharCode("desc"), "another format"},
    {fourCharCode("info"), "tags"},
    {fourCharCode("mark"), "markers"},
    {fourCharCode("strg"), "names"},
    {fourCharCode("regn"), "regions"},
    {fourCharCode("inst"), "instrument"},
    {fourCharCode("midi"), "MIDI data"},
    {fourCharCode("chan"), "channel layout"},
    {fourCharCode("edct"), "edit comments"},
    {fourCharCode("peak"), "peak levels"},
    {fourCharCode("ovvw"), "overview of the sound"},
    {fourCharCode("umid"), "material identifier"},
    {fourCharCode("uuid"), "data of another program"},
});

} // namespace

void declareCafChunk(const CafChunk& chunk, const FileHandle& handle, Keeping keeping, FileLedger& ledger)
{
    const bool isFiller =
        std::find(fillerChunks.begin(), fillerChunks.end(), chunk.type) != fillerChunks.end();
    const bool isPlainLayout =
        chunk.type == fourCharCode("chan") && isPlainChannelLayout(handle, chunk.payload());
    if (isFiller || isPlainLayout || chunk.size == 0)
        ledger.addStructure(chunk.payload());
    else
        ledger.add({ItemKind::part, keeping, nameOfChunk(chunk.type, chunkNames), chunk.payload()});
}

} // namespace velloria
