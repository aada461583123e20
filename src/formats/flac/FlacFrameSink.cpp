#include "formats/flac/FlacFrameSink.h"

#include "formats/flac/FlacInOgg.h"
#include "formats/ogg/OggPageWriter.h"
#include "formats/streams/BufferedWriter.h"

#include <FLAC/format.h>

namespace velloria
{

namespace
{

std::span<const std::byte> bytesOf(const QByteArray& bytes)
{
    return std::as_bytes(std::span(bytes.constData(), static_cast<size_t>(bytes.size())));
}

class PlainSink : public FlacFrameSink
{
public:
    explicit PlainSink(std::shared_ptr<FileHandle> handle)
        : mWriter(std::move(handle))
    {
    }

    void start(const QByteArray& streamInfo, const FlacMetadataEdit::Blocks& blocks) override
    {
        writeHead(streamInfo, blocks);
    }
    void addFrame(std::span<const std::byte> bytes, int64_t) override { mWriter.write(bytes); }
    MaybeError finish(const QByteArray& streamInfo, const FlacMetadataEdit::Blocks& blocks) override
    {
        mWriter.setPosition(0);
        writeHead(streamInfo, blocks);
        return mWriter.finish();
    }
    MaybeError error() const override { return mWriter.error(); }

private:
    void writeHead(const QByteArray& streamInfo, const FlacMetadataEdit::Blocks& blocks)
    {
        const QByteArray description =
            FlacMetadataEdit::bytesOf({FLAC__METADATA_TYPE_STREAMINFO, streamInfo}, blocks.empty());
        mWriter.write(bytesOf("fLaC" + description + FlacMetadataEdit::bytesOf(blocks)));
    }

    BufferedWriter mWriter;
};

class OggSink : public FlacFrameSink
{
public:
    OggSink(const std::shared_ptr<FileHandle>& handle, int serialNumber)
        : mHandle(handle)
        , mSerialNumber(static_cast<uint32_t>(serialNumber))
        , mPages(handle, serialNumber)
    {
    }

    void start(const QByteArray& streamInfo, const FlacMetadataEdit::Blocks& blocks) override
    {
        add(FlacInOgg::firstPacket(streamInfo, blocks.size()), 0);
        for (const FlacMetadataEdit::Block& block : blocks)
            add(FlacMetadataEdit::bytesOf(block, &block == &blocks.back()), 0);
        mNumHeaders = blocks.size() + 1;
    }
    void addFrame(std::span<const std::byte> bytes, int64_t endPosition) override
    {
        add(QByteArray(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes)), endPosition);
    }
    /// The first page has nothing but the description.
    MaybeError finish(const QByteArray& streamInfo, const FlacMetadataEdit::Blocks& blocks) override
    {
        write(true);
        if (MaybeError error = mPages.finish())
            return error;
        long numPages = 0;
        const QByteArray page = OggHeaders::pagesOf({FlacInOgg::firstPacket(streamInfo, blocks.size())},
                                                    mSerialNumber, &numPages);
        return mHandle->writeAt(0, page);
    }
    MaybeError error() const override { return mPages.error(); }

private:
    /// The one before is written: whether a packet is the last one turns out when another comes.
    void add(const QByteArray& packet, int64_t endPosition)
    {
        if (mNumPackets > 0)
            write(false);
        mPending = packet;
        mPosition = endPosition;
        ++mNumPackets;
    }
    void write(bool isLast)
    {
        ogg_packet packet = {};
        packet.packet = reinterpret_cast<unsigned char*>(mPending.data());
        packet.bytes = static_cast<long>(mPending.size());
        packet.b_o_s = mNumWritten == 0 ? 1 : 0;
        packet.e_o_s = isLast ? 1 : 0;
        packet.granulepos = mPosition;
        packet.packetno = static_cast<ogg_int64_t>(mNumWritten);
        mPages.add(packet);
        ++mNumWritten;
        // Description and sound begin on pages of their own.
        if (mNumWritten == 1 || mNumWritten == mNumHeaders)
            mPages.endPage();
    }

    std::shared_ptr<FileHandle> mHandle;
    uint32_t mSerialNumber;
    OggPageWriter mPages;
    QByteArray mPending;
    int64_t mPosition = 0;
    size_t mNumHeaders = 0;
    size_t mNumPackets = 0;
    size_t mNumWritten = 0;
};

} // namespace

std::unique_ptr<FlacFrameSink> FlacFrameSink::create(std::shared_ptr<FileHandle> handle,
                                                     std::optional<int> oggSerialNumber)
{
    if (oggSerialNumber)
        return std::make_unique<OggSink>(handle, *oggSerialNumber);
    return std::make_unique<PlainSink>(std::move(handle));
}

} // namespace velloria
