#include "formats/ogg/OggPageCheck.h"

#include "formats/ogg/OggStreams.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <ogg/ogg.h>

namespace velloria
{

namespace
{

// Longer than any page.
constexpr int64_t bytesPerRead = 65536;

/// Gives the undamaged pages, and counts what is skipped between them.
class Pages
{
public:
    Pages(const FileHandle& handle, int64_t end)
        : mHandle(handle)
        , mEnd(end)
    {
        ogg_sync_init(&mSync);
    }
    ~Pages() { ogg_sync_clear(&mSync); }
    Pages(const Pages&) = delete;
    Pages& operator=(const Pages&) = delete;

    bool next(ogg_page& page)
    {
        for (;;) {
            const long status = ogg_sync_pageseek(&mSync, &page);
            if (status < 0)
                mNumBytesSkipped +=
                    std::min(mPosition, mNumBytesTaken - status) - std::min(mPosition, mNumBytesTaken);
            mNumBytesTaken += std::abs(status);
            if (status > 0) {
                mEndOfPage = mNumBytesTaken;
                return true;
            }
            if (status == 0 && !feed())
                return false;
        }
    }

    int64_t numBytesSkipped() const { return mNumBytesSkipped; }
    /// Of the page that was given last.
    int64_t endOfPage() const { return mEndOfPage; }

private:
    /// A page whose damaged head claims more than the file has would hide those behind it: what is appended
    /// lets it end.
    bool feed()
    {
        if (mIsPadded)
            return false;
        auto* const buffer = reinterpret_cast<std::byte*>(ogg_sync_buffer(&mSync, bytesPerRead));
        if (!buffer)
            return false;
        const int64_t wanted = std::min(bytesPerRead, mEnd - mPosition);
        int64_t count = wanted > 0 ? mHandle.readAt(mPosition, {buffer, static_cast<size_t>(wanted)}) : 0;
        mPosition += count;
        if (count <= 0) {
            mIsPadded = true;
            std::fill_n(buffer, bytesPerRead, std::byte());
            count = bytesPerRead;
        }
        return ogg_sync_wrote(&mSync, static_cast<long>(count)) == 0;
    }

    const FileHandle& mHandle;
    const int64_t mEnd;
    /// Bytes of the file that were read, and those that pages or what was skipped took, padding included.
    int64_t mPosition = 0;
    int64_t mNumBytesTaken = 0;
    int64_t mEndOfPage = 0;
    /// Without padding.
    int64_t mNumBytesSkipped = 0;
    bool mIsPadded = false;
    ogg_sync_state mSync = {};
};

struct Stream {
    long nextNumber = 0;
    bool hasSound = false;
    bool isAtEnd = false;
    /// When its last page was read.
    int64_t numBytesSkipped = 0;
};

/// True where a page begins that the end of the file cuts.
bool isCutPageAt(const FileHandle& handle, int64_t offset, int64_t end)
{
    constexpr qsizetype headLength = 27;
    constexpr qsizetype mostSegments = 255;
    const QByteArray head = handle.readAt(offset, std::min<int64_t>(headLength + mostSegments, end - offset));
    const qsizetype numSegments = head.size() < headLength ? 0 : static_cast<uint8_t>(head[headLength - 1]);
    int64_t length = headLength + numSegments;
    for (const char size : head.mid(headLength, numSegments))
        length += static_cast<uint8_t>(size);
    return QByteArray("OggS").startsWith(head.left(4)) && offset + length > end;
}

/// True when a page is missing in front of this one.
bool take(const ogg_page& page, int64_t numBytesSkipped, Stream& stream)
{
    const long number = ogg_page_pageno(&page);
    const bool isJump = !ogg_page_bos(&page) && number != stream.nextNumber;
    const bool isLost = isJump && (stream.hasSound || numBytesSkipped > stream.numBytesSkipped);
    stream.nextNumber = number + 1;
    stream.hasSound = !ogg_page_bos(&page) && (stream.hasSound || ogg_page_granulepos(&page) > 0);
    stream.isAtEnd = ogg_page_eos(&page) != 0;
    stream.numBytesSkipped = numBytesSkipped;
    return isLost;
}

} // namespace

OggPageCheck OggPageCheck::ofFile(const FileHandle& handle, const std::set<uint32_t>& serialNumbersRead,
                                  int64_t end)
{
    OggPageCheck check;
    end = end > 0 ? end : handle.length();
    Pages pages(handle, end);
    std::map<uint32_t, Stream> streams;
    ogg_page page = {};
    while (pages.next(page)) {
        const auto serialNumber = static_cast<uint32_t>(ogg_page_serialno(&page));
        if (!serialNumbersRead.contains(serialNumber))
            continue;
        Stream& stream = streams[serialNumber];
        check.isPageLost = take(page, pages.numBytesSkipped(), stream) || check.isPageLost;
        check.isSoundPromised = check.isSoundPromised || stream.hasSound;
    }
    // What a file that was cut off ends with is no damage beside that, as long as it shows that it was.
    const bool isCut = isCutPageAt(handle, pages.endOfPage(), end) && !OggStreams::isComplete(handle);
    for (const auto& [serialNumber, stream] : streams) {
        const bool isEndDamaged = !stream.isAtEnd && pages.numBytesSkipped() > stream.numBytesSkipped;
        check.isPageLost = check.isPageLost || (isEndDamaged && !isCut);
        check.isSoundPromised = check.isSoundPromised || isEndDamaged;
    }
    check.isSoundPromised = check.isSoundPromised || check.isPageLost;
    return check;
}

} // namespace velloria
