#include "formats/decoding/VLAudioFileDecompressor.h"
#include "platform/Log.h"

#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>

using namespace velloria;

// Opens the bytes as a file, under each type hint, and decodes a part. No more frames may come out than were
// counted, and no frame of linear PCM fewer.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr int64_t maxFrames = 1 << 20;
    const LogCapture quiet;
    const int memory = ::memfd_create("fuzz", 0);
    if (memory < 0)
        return 0;
    const auto handle = FileHandle::adopt(memory, "fuzz");
    handle->writeAt(0, std::as_bytes(std::span(data, size)));
    const char* const hints[] = {"", "public.mp3", "public.aac-audio"};
    MaybeError error;
    const auto decoder =
        VLAudioFileDecompressor::forReadingFile(handle, QString::fromLatin1(hints[size % 3]), &error);
    if (!decoder != error.has_value())
        std::abort();
    if (!decoder)
        return 0;
    std::vector<std::vector<float>> planar;
    while (decoder->convertOneBuffer(planar) > 0 && decoder->convertedFrameCount() < maxFrames)
        continue;
    const int64_t wanted = std::min(decoder->numberOfFrames(), maxFrames);
    if (decoder->convertedFrameCount() > decoder->numberOfFrames() ||
        (decoder->dataFormat() == DataFormat::kLinearPcm && decoder->convertedFrameCount() < wanted))
        std::abort();
    return 0;
}
