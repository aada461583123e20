#include "formats/caf/CafChunkNames.h"

#include "formats/chunks/ChannelLayout.h"
#include "formats/chunks/ChunkNames.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

// What follows from the format, the samples or their order, and filler.
constexpr std::array fillerChunks = {CafChunkType::packetTable, fourCharCode("kuki"), fourCharCode("free"),
                                     fourCharCode("peak"), fourCharCode("ovvw")};

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
    {fourCharCode("umid"), "material identifier"},
    {fourCharCode("uuid"), "data of another program"},
});

} // namespace

void declareCafChunk(const CafChunk& chunk, const FileHandle& handle, FileLedger& ledger)
{
    const bool isFiller =
        std::find(fillerChunks.begin(), fillerChunks.end(), chunk.type) != fillerChunks.end();
    const bool isPlainLayout =
        chunk.type == fourCharCode("chan") && isPlainChannelLayout(handle, chunk.payload());
    if (isFiller || isPlainLayout || chunk.size == 0)
        ledger.addStructure(chunk.payload());
    else
        ledger.addNotKept(ItemKind::part, nameOfChunk(chunk.type, chunkNames), chunk.payload());
}

} // namespace velloria
