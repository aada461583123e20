#include "formats/saving/SampleBytesSink.h"

namespace velloria
{

namespace
{

// Packets are small; what is written at a time.
constexpr qsizetype bytesPerWrite = 65536;

} // namespace

MaybeError SampleBytesSink::writePacket(AVPacket& packet)
{
    mBytes.append(reinterpret_cast<const char*>(packet.data), packet.size);
    return mBytes.size() < bytesPerWrite ? std::nullopt : flush();
}

MaybeError SampleBytesSink::flush()
{
    MaybeError error =
        mFile.writeRawData(std::as_bytes(std::span(mBytes)), mFile.soundDataOffset() + mNumBytesWritten);
    mNumBytesWritten += mBytes.size();
    mBytes.clear();
    return error;
}

} // namespace velloria
