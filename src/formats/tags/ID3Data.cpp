#include "formats/tags/ID3Data.h"

#include "formats/tags/Id3Parser.h"
#include "formats/tags/Id3Writer.h"

namespace velloria
{

ID3Data::ID3Data(QByteArray tagData, MetadataDictionary dictionary)
    : mTagData(std::move(tagData))
    , mDictionary(std::move(dictionary))
{
}

std::optional<ID3Data> ID3Data::id3DataWithFile(const std::filesystem::path& path)
{
    const auto file = FileHandle::openForReading(path);
    return file ? id3DataWithFile(*file) : std::nullopt;
}

std::optional<ID3Data> ID3Data::id3DataWithFile(const FileHandle& file)
{
    constexpr int64_t shortestFile = 128;
    if (file.length() < shortestFile)
        return std::nullopt;
    const QByteArray header = file.readAt(0, id3HeaderLength);
    if (header.size() < id3HeaderLength || !header.startsWith("ID3"))
        return std::nullopt;
    return id3DataWithData(file.readAt(0, id3TagLength(header)));
}

ID3Data ID3Data::id3DataWithData(const QByteArray& tagData)
{
    return {tagData, parseId3Tag(tagData).value_or(MetadataDictionary())};
}

ID3Data ID3Data::id3DataWithDictionary(const MetadataDictionary& dictionary)
{
    return {generateId3Tag(dictionary), dictionary};
}

} // namespace velloria
