#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/FileHandle.h"

namespace velloria
{

/// Tags that programs put in front of a stream of sound and behind it, whatever the stream is: ID3v2, ID3v1,
/// APEv2, Lyrics3. They are found by their first and last bytes; what they say is not read here.
namespace TagsAround
{

struct Tag {
    enum class Kind { id3 /* version 2 */, id3v1, ape, lyrics3 };
    /// For a person, with the keys of an APEv2 tag.
    QString name;
    ByteRange bytes;
    Kind kind = Kind::id3;
};

/// Those at the start of the file, in order, one directly behind the other.
std::vector<Tag> inFront(const FileHandle& handle);
/// Those at the end of the file, the last one first, none of them reaching in front of `start`.
std::vector<Tag> behind(const FileHandle& handle, int64_t start);

/// Accounts for tags that no save keeps.
void declareNotKept(const std::vector<Tag>& tags, FileLedger& ledger);
/// The same for any other fate.
void declare(const std::vector<Tag>& tags, Keeping keeping, FileLedger& ledger);

} // namespace TagsAround

} // namespace velloria
