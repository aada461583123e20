#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/FileHandle.h"

#include <memory>
#include <span>
#include <vector>

namespace velloria
{

/// One Vorbis stream of an Ogg file, as if nothing else stood there: what is multiplexed with it, and what
/// stands in front of it or behind, is left out. The decoding library finds its way through such a file
/// always; through one with other streams it does not when this one is so short that its sound has a single
/// page, nor through several short ones that follow one another.
class VorbisLink
{
public:
    explicit VorbisLink(uint32_t serialNumber)
        : mSerialNumber(serialNumber)
    {
    }

    uint32_t serialNumber() const { return mSerialNumber; }
    int64_t length() const
    {
        return mPieces.empty() ? 0 : mPieces.back().start + mPieces.back().bytes.length;
    }
    /// Further bytes of the file, behind those that it has.
    void add(ByteRange bytes);
    /// From `offset` of the stream on, as many bytes as lie together: fewer than were asked for only there.
    int64_t readAt(const FileHandle& handle, int64_t offset, std::span<std::byte> out) const;

private:
    struct Piece {
        /// In the stream.
        int64_t start = 0;
        ByteRange bytes;
    };

    uint32_t mSerialNumber;
    std::vector<Piece> mPieces;
};

/// The Vorbis streams that follow one another in a file: of those that begin together the first. Reads the
/// heads of all pages; none for what does not begin like an Ogg file.
std::vector<VorbisLink> vorbisLinksOf(const FileHandle& handle);

} // namespace velloria
