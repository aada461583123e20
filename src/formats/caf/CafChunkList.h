#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/FileHandle.h"
#include "platform/FourCharCode.h"

#include <QByteArray>
#include <vector>

namespace velloria
{

/// The chunks that are read and written.
namespace CafChunkType
{

constexpr FourCharCode description = fourCharCode("desc");
constexpr FourCharCode data = fourCharCode("data");
constexpr FourCharCode info = fourCharCode("info");
constexpr FourCharCode marker = fourCharCode("mark");
constexpr FourCharCode strings = fourCharCode("strg");
constexpr FourCharCode packetTable = fourCharCode("pakt");
/// What a decoder has to know beside the packets.
constexpr FourCharCode cookie = fourCharCode("kuki");

} // namespace CafChunkType

/// A chunk of a CAF file: a header of 12 bytes (type, size of the payload in 64 bits) and the payload.
struct CafChunk {
    static constexpr int64_t headerLength = 12;

    FourCharCode type = 0;
    /// Of the header.
    int64_t offset = 0;
    /// Of the payload, as far as the file goes.
    int64_t size = 0;
    /// The size was left open (all ones), or makes no sense: the payload goes on to the end of the file.
    bool isOpenEnded = false;
    /// False when the file ends before the payload does.
    bool isComplete = true;

    int64_t payloadOffset() const { return offset + headerLength; }
    ByteRange payload() const { return {payloadOffset(), size}; }
    int64_t end() const { return payloadOffset() + size; }
};

/// The chunks of a CAF file, found by walking over their headers. Whatever the sizes say, the walk ends and
/// takes bounded memory.
class CafChunkList
{
public:
    static constexpr int64_t fileHeaderLength = 8;
    static constexpr uint16_t fileVersion = 1;
    /// The number of edits stands before the sound.
    static constexpr int64_t editCountLength = 4;

    CafChunkList() = default;
    static CafChunkList ofFile(const FileHandle& handle);

    const std::vector<CafChunk>& chunks() const { return mChunks; }
    /// The first one of the type, or null.
    const CafChunk* find(FourCharCode type) const;

private:
    std::vector<CafChunk> mChunks;
};

} // namespace velloria
