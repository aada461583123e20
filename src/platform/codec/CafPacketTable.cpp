#include "platform/codec/CafPacketTable.h"

#include "platform/FourCharCode.h"

#include <QtEndian>

namespace velloria
{

namespace
{

constexpr int64_t kFileHeaderBytes = 8;
constexpr int64_t kChunkHeaderBytes = 12;
constexpr int kMaxChunks = 4096;

template <typename Number> Number numberAt(const QByteArray& bytes, int offset)
{
    return qFromBigEndian<Number>(bytes.constData() + offset);
}

} // namespace

std::optional<PacketTable> readCafPacketTable(const FileHandle& file)
{
    const int64_t length = file.length();
    int64_t offset = kFileHeaderBytes;
    for (int i = 0; i < kMaxChunks; ++i) {
        const QByteArray header = file.readAt(offset, kChunkHeaderBytes);
        if (header.size() < kChunkHeaderBytes)
            break;
        const auto size = numberAt<int64_t>(header, 4);
        if (numberAt<uint32_t>(header, 0) == fourCharCode("pakt")) {
            // Packets, valid frames (64 bits each), priming, remainder (32 bits each).
            const QByteArray payload = file.readAt(offset + kChunkHeaderBytes, 24);
            if (payload.size() < 24)
                break;
            const PacketTable table = {numberAt<int64_t>(payload, 8), numberAt<int32_t>(payload, 16),
                                       numberAt<int32_t>(payload, 20)};
            const bool isSane =
                table.numberOfValidFrames > 0 && table.primingFrames >= 0 && table.remainderFrames >= 0;
            return isSane ? std::optional(table) : std::nullopt;
        }
        if (size < 0 || size > length - offset - kChunkHeaderBytes)
            break;
        offset += kChunkHeaderBytes + size;
    }
    return std::nullopt;
}

} // namespace velloria
