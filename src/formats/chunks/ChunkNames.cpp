#include "formats/chunks/ChunkNames.h"

#include <algorithm>

namespace velloria
{

QString nameOfChunk(FourCharCode ident, std::span<const ChunkName> names)
{
    QByteArray characters = fourCharText(ident);
    const auto isUnprintable = [](char c) { return c < ' ' || c > '~'; };
    std::replace_if(characters.begin(), characters.end(), isUnprintable, '?');
    QString text = QString::fromLatin1(characters);
    const auto known = std::find_if(names.begin(), names.end(),
                                    [ident](const ChunkName& each) { return each.ident == ident; });
    if (known == names.end())
        return text;
    return QStringLiteral("%1 (%2)").arg(QString::fromLatin1(known->meaning), text);
}

} // namespace velloria
