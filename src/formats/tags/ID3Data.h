#pragma once

#include "formats/tags/MetadataDictionary.h"
#include "platform/FileHandle.h"

#include <QByteArray>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace velloria
{

/// One ID3v2 tag: its bytes and what they say. Versions 2.2, 2.3 and 2.4 are read, 2.2 is written. A value
/// that is made in one of three ways and does not change afterwards. Any thread.
class ID3Data
{
public:
    /// Reads the tag at the start of a file; nothing when there is none. A tag that claims more than the
    /// file holds ends with the file. A tag that cannot be read still has its bytes and length.
    static std::optional<ID3Data> id3DataWithFile(const std::filesystem::path& path);
    static std::optional<ID3Data> id3DataWithFile(const FileHandle& file);

    /// Reads a tag's bytes; the dictionary is empty when they are none.
    static ID3Data id3DataWithData(const QByteArray& tagData);

    /// Makes the tag of a dictionary; it has no bytes when the dictionary is empty.
    static ID3Data id3DataWithDictionary(const MetadataDictionary& dictionary);

    /// All bytes of the tag, its header included.
    const QByteArray& tagData() const { return mTagData; }
    const MetadataDictionary& dictionary() const { return mDictionary; }
    int64_t length() const { return mTagData.size(); }

private:
    ID3Data(QByteArray tagData, MetadataDictionary dictionary);

    QByteArray mTagData;
    MetadataDictionary mDictionary;
};

} // namespace velloria
