#include "formats/aiff/AiffChunkNames.h"

#include "formats/chunks/ChannelLayout.h"
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
    {fourCharCode("id3 "), "tags"},
    {fourCharCode("MARK"), "markers"},
    {fourCharCode("uMrk"), "markers"},
    {fourCharCode("INST"), "instrument"},
    {fourCharCode("MIDI"), "MIDI data"},
    {fourCharCode("AESD"), "recording status"},
    {fourCharCode("COMT"), "comments"},
    {fourCharCode("SAXL"), "sound accelerator"},
    {fourCharCode("APPL"), "data of another program"},
    {fourCharCode("CHAN"), "channel layout"},
    {fourCharCode("PEAK"), "peak levels"},
    {fourCharCode("basc"), "loop information"},
    {fourCharCode("trns"), "loop transients"},
    {fourCharCode("cate"), "loop category"},
    {fourCharCode("SSND"), "more sound data"},
    {fourCharCode("COMM"), "another format"},
});

constexpr std::array fillerChunks = {fourCharCode("FVER"), fourCharCode("FLLR"), fourCharCode("JUNK"),
                                     fourCharCode("PAD ")};

bool isFiller(FourCharCode ident)
{
    return std::find(fillerChunks.begin(), fillerChunks.end(), ident) != fillerChunks.end();
}

} // namespace

void declareAiffChunk(const RiffChunk& chunk, const FileHandle& handle, Keeping keeping, FileLedger& ledger)
{
    const int64_t end = std::min(chunk.end(), handle.length());
    const ByteRange bytes = {chunk.payloadOffset(), std::max<int64_t>(0, end - chunk.payloadOffset())};
    const bool isPlainLayout = chunk.ident == fourCharCode("CHAN") && isPlainChannelLayout(handle, bytes);
    if (chunk.size == 0 || isFiller(chunk.ident) || isPlainLayout)
        ledger.addStructure(bytes);
    else
        ledger.add({ItemKind::part, keeping, nameOfChunk(chunk.ident, chunkNames), bytes});
}

} // namespace velloria
