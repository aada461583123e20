#include "formats/chunks/ChannelLayout.h"

#include <QtEndian>

namespace velloria
{

namespace
{

constexpr int64_t lengthWithoutDescriptions = 12;
// A tag is a number of its own and, in its low half, the number of channels.
constexpr uint32_t tagOfMono = 100U << 16 | 1;
constexpr uint32_t tagOfStereo = 101U << 16 | 2;
constexpr uint32_t tagOfBitmap = 1U << 16;
constexpr uint32_t bitmapOfStereo = 3;
constexpr uint32_t bitmapOfMono = 4;

} // namespace

bool isPlainChannelLayout(const FileHandle& handle, ByteRange payload)
{
    const QByteArray bytes = handle.readAt(payload.offset, lengthWithoutDescriptions);
    if (payload.length != lengthWithoutDescriptions || bytes.size() < lengthWithoutDescriptions)
        return false;
    const auto tag = qFromBigEndian<quint32>(bytes.constData());
    const auto bitmap = qFromBigEndian<quint32>(bytes.constData() + 4);
    return tag == tagOfMono || tag == tagOfStereo ||
           (tag == tagOfBitmap && (bitmap == bitmapOfMono || bitmap == bitmapOfStereo));
}

} // namespace velloria
