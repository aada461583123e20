#include "formats/wave/WaveEncoding.h"

#include "formats/wave/WaveContainer.h"

namespace velloria
{

namespace
{

// Tables of an encoding's coefficients take some hundred bytes.
constexpr int64_t longestDescription = 65536;
constexpr int64_t unknownSize = 0xFFFFFFFF;

} // namespace

std::optional<WaveEncoding> WaveEncoding::ofFile(const FileHandle& handle)
{
    const auto container = WaveContainer::ofFile(handle);
    if (!container || container->byteOrder != ChunkByteOrder::littleEndian)
        return std::nullopt;
    const RiffChunkList chunks = RiffChunkList::ofFile(handle, container->region(handle));
    const RiffChunk* const format = chunks.find(fourCharCode("fmt "));
    const RiffChunk* const fact = chunks.find(fourCharCode("fact"));
    const RiffChunk* const data = chunks.find(fourCharCode("data"));
    if (!format || !data || !format->isComplete || !data->isComplete || format->size > longestDescription ||
        data->size <= 0 || data->size == unknownSize ||
        (fact && (!fact->isComplete || fact->size > longestDescription)))
        return std::nullopt;
    WaveEncoding encoding;
    encoding.format = handle.readAt(format->payloadOffset(), format->size);
    if (fact)
        encoding.fact = handle.readAt(fact->payloadOffset(), fact->size);
    encoding.sound = {data->payloadOffset(), data->size};
    return encoding;
}

} // namespace velloria
