#pragma once

#include "formats/saving/SampleFile.h"
#include "platform/codec/PacketSink.h"

namespace velloria
{

/// Writes packets one behind the other into a file's sound data, for containers that need nothing between
/// them. The file's header must be written.
class SampleBytesSink : public PacketSink
{
public:
    /// The file must live longer.
    explicit SampleBytesSink(SampleFile& file)
        : mFile(file)
    {
    }

    MaybeError begin(const PacketEncoder&) override { return std::nullopt; }
    MaybeError writePacket(AVPacket& packet) override;
    MaybeError finish(const PacketTable&) override { return flush(); }

    int64_t numBytesWritten() const { return mNumBytesWritten; }

private:
    MaybeError flush();

    SampleFile& mFile;
    QByteArray mBytes;
    int64_t mNumBytesWritten = 0;
};

} // namespace velloria
