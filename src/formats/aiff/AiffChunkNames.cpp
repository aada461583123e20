#include "formats/aiff/AiffChunkNames.h"

#include "formats/chunks/ChunkNames.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

constexpr auto chunkNames = std::to_array<ChunkName>({
    {fourCharCode("NAME"), "name"},
    {fourCharCode("AUTH"), "author"},
    {fourCharCode("(c) "), "copyright"},
    {fourCharCode("ANNO"), "annotation"},
    {fourCharCode("ID3 "), "tags"},
    {fourCharCode("MARK"), "markers"},
    {fourCharCode("uMrk"), "markers"},
    {fourCharCode("INST"), "instrument"},
    {fourCharCode("MIDI"), "MIDI data"},
    {fourCharCode("AESD"), "recording status"},
    {fourCharCode("COMT"), "comments"},
    {fourCharCode("SAXL"), "sound accelerator"},
    {fourCharCode("APPL"), "data of another program"},
    {fourCharCode("CHAN"), "channel layout"},
    {fourCharCode("basc"), "loop information"},
    {fourCharCode("trns"), "loop transients"},
    {fourCharCode("cate"), "loop category"},
    {fourCharCode("SSND"), "more sound data"},
    {fourCharCode("COMM"), "another format"},
});

constexpr std::array fillerChunks = {fourCharCode("FVER"), fourCharCode("PEAK"), fourCharCode("FLLR"),
                                     fourCharCode("JUNK"), fourCharCode("PAD ")};

} // namespace

bool isDispensableAiffChunk(const RiffChunk& chunk)
{
    return chunk.size == 0 ||
           std::find(fillerChunks.begin(), fillerChunks.end(), chunk.ident) != fillerChunks.end();
}

QString nameOfAiffChunk(const RiffChunk& chunk)
{
    return nameOfChunk(chunk.ident, chunkNames);
}

} // namespace velloria
