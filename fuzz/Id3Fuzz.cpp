#include "formats/tags/AudioMetadata.h"
#include "formats/tags/ID3Data.h"

#include <cstdlib>

using namespace velloria;

namespace
{

void require(bool condition)
{
    if (!condition)
        std::abort();
}

bool hasCleanTexts(const MetadataDictionary& dictionary)
{
    return std::all_of(dictionary.begin(), dictionary.end(), [](const QVariant& value) {
        const QString text = value.toString();
        return !text.contains(QChar::Null) && (!text.isEmpty() || value.typeId() != QMetaType::QString);
    });
}

} // namespace

/// Reads the bytes as a tag. What we then write, read and write again must not change any more: the first
/// writing may drop what version 2.2 cannot hold, the second may not.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray tag(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const ID3Data read = ID3Data::id3DataWithData(tag);
    require(hasCleanTexts(read.dictionary()));

    AudioMetadata metadata;
    metadata.setValuesWithID3Data(tag);
    metadata.setValuesWithDictionary(metadata.dictionary());

    const QByteArray written = ID3Data::id3DataWithDictionary(read.dictionary()).tagData();
    const ID3Data reread = ID3Data::id3DataWithData(written);
    require(read.dictionary().isEmpty() == written.isEmpty());
    const QByteArray rewritten = ID3Data::id3DataWithDictionary(reread.dictionary()).tagData();
    require(ID3Data::id3DataWithData(rewritten).dictionary() == reread.dictionary());
    return 0;
}
