#pragma once

#include <QByteArray>
#include <QtEndian>

namespace velloria::test
{

/// A byte array from a literal, the zero bytes inside included.
template <size_t N> QByteArray bytes(const char (&text)[N])
{
    return QByteArray(text, N - 1);
}

inline QByteArray bigEndian32(quint32 value)
{
    const quint32 swapped = qToBigEndian(value);
    return QByteArray(reinterpret_cast<const char*>(&swapped), 4);
}

inline QByteArray synchSafe(quint32 value)
{
    return bigEndian32((value & 0x7F) | (value & 0x3F80) << 1 | (value & 0x1FC000) << 2 |
                       (value & 0xFE00000) << 3);
}

inline QByteArray version2Frame(const char* id, const QByteArray& payload)
{
    return id + bigEndian32(static_cast<quint32>(payload.size())).mid(1) + payload;
}

inline QByteArray version3Frame(const char* id, const QByteArray& payload, char flags = 0)
{
    return id + bigEndian32(static_cast<quint32>(payload.size())) + '\0' + flags + payload;
}

inline QByteArray version4Frame(const char* id, const QByteArray& payload, char flags = 0)
{
    return id + synchSafe(static_cast<quint32>(payload.size())) + '\0' + flags + payload;
}

/// A tag of frames with ten bytes of padding.
inline QByteArray tag(char version, const QByteArray& frames, char flags = 0)
{
    return QByteArray("ID3") + version + '\0' + flags + synchSafe(static_cast<quint32>(frames.size() + 10)) +
           frames + QByteArray(10, '\0');
}

} // namespace velloria::test
