#include "formats/streams/Windows1252.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

constexpr size_t firstOfTable = 0x80;

// The characters of the bytes 0x80 to 0x9F, as Unicode's mapping table for CP1252 gives them; all others have
// the number of their byte.
constexpr std::array<char16_t, 32> ownCharacters = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

bool isInTable(size_t number)
{
    return number >= firstOfTable && number < firstOfTable + ownCharacters.size();
}

} // namespace

QString stringFromWindows1252(QByteArrayView bytes)
{
    QString text;
    text.reserve(bytes.size());
    for (const char each : bytes) {
        const auto byte = static_cast<unsigned char>(each);
        text.append(QChar(isInTable(byte) ? ownCharacters[byte - firstOfTable] : char16_t{byte}));
    }
    return text;
}

std::optional<QByteArray> windows1252FromString(const QString& text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (const QChar character : text) {
        const char16_t number = character.unicode();
        const auto* const found = std::ranges::find(ownCharacters, number);
        if (found != ownCharacters.end())
            bytes.append(
                static_cast<char>(firstOfTable + static_cast<size_t>(found - ownCharacters.begin())));
        else if (number <= 0xFF && !isInTable(number))
            bytes.append(static_cast<char>(number));
        else
            return std::nullopt;
    }
    return bytes;
}

} // namespace velloria
