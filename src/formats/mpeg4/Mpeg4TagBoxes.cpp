// Where the tags stand among the boxes of a movie.

#include "formats/mpeg4/Mpeg4Tags.h"

#include <algorithm>

namespace velloria::Mpeg4Tags
{

bool hasNamedItems(const Mpeg4Box& meta)
{
    const Mpeg4Box handler = boxesOfMeta(meta).descendant({fourCharCode("hdlr")});
    return handler.isEmpty() || handler.number32(8) == fourCharCode("mdir");
}

Mpeg4Box userDataOf(const Mpeg4Box& movie)
{
    const std::vector<Mpeg4Box> all = movie.children(fourCharCode("udta"));
    const auto metaIn = [](const Mpeg4Box& userData) { return userData.descendant({fourCharCode("meta")}); };
    auto found = std::find_if(all.begin(), all.end(), [&](const Mpeg4Box& each) {
        return hasNamedItems(metaIn(each)) && !itemsOfMeta(metaIn(each)).isEmpty();
    });
    if (found == all.end())
        found = std::find_if(all.begin(), all.end(),
                             [&](const Mpeg4Box& each) { return !itemsOfMeta(metaIn(each)).isEmpty(); });
    if (found == all.end())
        found = std::find_if(all.begin(), all.end(),
                             [&](const Mpeg4Box& each) { return !metaIn(each).isEmpty(); });
    if (found == all.end())
        found = all.begin();
    return all.empty() ? Mpeg4Box(std::span<const uint8_t>()) : *found;
}

Mpeg4Box metaOf(const Mpeg4Box& movie)
{
    constexpr FourCharCode meta = fourCharCode("meta");
    const Mpeg4Box box = userDataOf(movie).descendant({meta});
    return box.isEmpty() ? movie.descendant({meta}) : box;
}

Mpeg4Box boxesOfMeta(const Mpeg4Box& meta)
{
    constexpr size_t versionBytes = 4;
    const bool isQuickTime = meta.number32(4) == fourCharCode("hdlr");
    return Mpeg4Box(meta.bytes().subspan(isQuickTime ? 0 : std::min(versionBytes, meta.size())));
}

Mpeg4Box itemsOfMeta(const Mpeg4Box& meta)
{
    return boxesOfMeta(meta).descendant({fourCharCode("ilst")});
}

} // namespace velloria::Mpeg4Tags
