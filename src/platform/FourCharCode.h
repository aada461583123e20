#pragma once

#include <QByteArray>
#include <cstdint>

namespace velloria
{

/// Names an encoding, codec, chunk or record by four characters; the first is the most significant byte.
using FourCharCode = uint32_t;

/// fourCharCode("lpcm") is 0x6C70636D.
constexpr FourCharCode fourCharCode(const char (&text)[5])
{
    FourCharCode code = 0;
    for (int i = 0; i < 4; ++i)
        code = (code << 8) | static_cast<unsigned char>(text[i]);
    return code;
}

/// The four characters of a code, Latin-1.
inline QByteArray fourCharText(FourCharCode code)
{
    QByteArray text(4, '\0');
    for (int i = 0; i < 4; ++i)
        text[i] = static_cast<char>((code >> (24 - 8 * i)) & 0xFF);
    return text;
}

} // namespace velloria
