#include "formats/ogg/OggHeaders.h"

#include <ogg/ogg.h>

namespace velloria
{

namespace
{

constexpr int64_t bytesPerRead = 65536;
// Of tags with pictures; whoever has more of them loses time, not tags.
constexpr int64_t mostHeaderBytes = int64_t{1} << 28;

/// libogg's states, and what was read of the file.
class Reader
{
public:
    explicit Reader(const FileHandle& handle)
        : mHandle(handle)
    {
        ogg_sync_init(&mSync);
    }
    ~Reader()
    {
        ogg_sync_clear(&mSync);
        ogg_stream_clear(&mStream);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// False at the end of the file, for anything else than a page, and for a page of another stream.
    bool readPage()
    {
        ogg_page page;
        long length = 0;
        while ((length = ogg_sync_pageseek(&mSync, &page)) == 0) {
            if (!feed())
                return false;
        }
        if (length < 0)
            return false;
        if (mNumPages == 0 &&
            (!ogg_page_bos(&page) || ogg_stream_init(&mStream, ogg_page_serialno(&page)) != 0))
            return false;
        if (mNumPages > 0 && ogg_page_bos(&page))
            return false;
        mEndOfPage += length;
        ++mNumPages;
        return ogg_stream_pagein(&mStream, &page) == 0;
    }
    bool nextPacket(QByteArray& bytes)
    {
        ogg_packet packet;
        if (ogg_stream_packetout(&mStream, &packet) != 1)
            return false;
        bytes = QByteArray(reinterpret_cast<const char*>(packet.packet), packet.bytes);
        return true;
    }
    /// Whether all of the last page was given.
    bool isAtEndOfPage() const { return mStream.lacing_returned == mStream.lacing_fill; }
    int64_t endOfPage() const { return mEndOfPage; }
    long numPages() const { return mNumPages; }
    uint32_t serialNumber() const { return static_cast<uint32_t>(mStream.serialno); }

private:
    bool feed()
    {
        auto* const buffer = reinterpret_cast<std::byte*>(ogg_sync_buffer(&mSync, bytesPerRead));
        if (!buffer || mPosition > mostHeaderBytes)
            return false;
        const int64_t count = mHandle.readAt(mPosition, {buffer, static_cast<size_t>(bytesPerRead)});
        mPosition += count;
        return count > 0 && ogg_sync_wrote(&mSync, static_cast<long>(count)) == 0;
    }

    const FileHandle& mHandle;
    int64_t mPosition = 0;
    int64_t mEndOfPage = 0;
    long mNumPages = 0;
    ogg_sync_state mSync = {};
    ogg_stream_state mStream = {};
};

void append(QByteArray& bytes, const ogg_page& page)
{
    bytes.append(reinterpret_cast<const char*>(page.header), page.header_len);
    bytes.append(reinterpret_cast<const char*>(page.body), page.body_len);
}

} // namespace

std::optional<OggHeaders> OggHeaders::ofFile(const FileHandle& handle, const AreComplete& areComplete)
{
    Reader reader(handle);
    OggHeaders headers;
    bool isComplete = false;
    while (!isComplete) {
        if (!reader.readPage())
            return std::nullopt;
        QByteArray packet;
        while (!isComplete && reader.nextPacket(packet)) {
            headers.packets.append(packet);
            isComplete = areComplete(headers.packets);
        }
    }
    if (!reader.isAtEndOfPage())
        return std::nullopt;
    headers.serialNumber = reader.serialNumber();
    headers.numPages = reader.numPages();
    headers.sound = {reader.endOfPage(), handle.length() - reader.endOfPage()};
    return headers;
}

QByteArray OggHeaders::pagesOf(const QList<QByteArray>& packets, uint32_t serialNumber, long* numPages)
{
    ogg_stream_state stream;
    ogg_stream_init(&stream, static_cast<int>(serialNumber));
    QByteArray bytes;
    ogg_page page;
    for (qsizetype i = 0; i < packets.size(); ++i) {
        ogg_packet packet = {};
        packet.packet = reinterpret_cast<unsigned char*>(const_cast<char*>(packets[i].constData()));
        packet.bytes = static_cast<long>(packets[i].size());
        packet.b_o_s = i == 0 ? 1 : 0;
        packet.packetno = i;
        ogg_stream_packetin(&stream, &packet);
        // The first packet has a page of its own, and so has the sound behind the last one.
        const bool endsPage = i == 0 || i == packets.size() - 1;
        while ((endsPage ? ogg_stream_flush(&stream, &page) : ogg_stream_pageout(&stream, &page)) != 0)
            append(bytes, page);
    }
    *numPages = stream.pageno;
    ogg_stream_clear(&stream);
    return bytes;
}

} // namespace velloria
