#include "formats/aiff/AiffFields.h"

#include "formats/streams/MacRoman.h"

namespace velloria
{

QByteArray aiffTextPayload(const QString& text)
{
    QByteArray bytes = macRomanFromString(text);
    if (bytes.endsWith('\0'))
        bytes.chop(1);
    return bytes;
}

QString aiffTextOf(QByteArray payload)
{
    while (payload.endsWith('\0'))
        payload.chop(1);
    return stringFromMacRoman(payload);
}

} // namespace velloria
