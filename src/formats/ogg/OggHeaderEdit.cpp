#include "formats/ogg/OggHeaderEdit.h"

#include "formats/file/SoundCopy.h"
#include "platform/MissedReads.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <cstring>
#include <ogg/ogg.h>
#include <vector>

namespace velloria
{

namespace
{

// Layout of a page: https://www.rfc-editor.org/rfc/rfc3533
constexpr size_t headerLength = 27;
constexpr size_t serialNumberOffset = 14;
constexpr size_t numberOffset = 18;
constexpr size_t checksumOffset = 22;
constexpr size_t longestPage = headerLength + 255 + size_t{255} * 255;
constexpr size_t bytesPerRead = size_t{1} << 20;

using Bytes = std::span<std::byte>;

uint32_t numberAt(Bytes bytes, size_t offset)
{
    return qFromLittleEndian<quint32>(bytes.data() + offset);
}

/// All of the page that begins here; empty for none, or one that does not end here.
Bytes pageAt(Bytes bytes)
{
    if (bytes.size() < headerLength || std::memcmp(bytes.data(), "OggS", 4) != 0)
        return {};
    const auto numSegments = std::to_integer<size_t>(bytes[headerLength - 1]);
    size_t length = headerLength + numSegments;
    if (length > bytes.size())
        return {};
    for (const std::byte size : bytes.subspan(headerLength, numSegments))
        length += std::to_integer<size_t>(size);
    return length <= bytes.size() ? bytes.first(length) : Bytes();
}

void setChecksum(Bytes bytes)
{
    auto* const data = reinterpret_cast<unsigned char*>(bytes.data());
    const size_t numSegments = data[headerLength - 1];
    const size_t length = headerLength + numSegments;
    ogg_page page = {data, static_cast<long>(length), data + length,
                     static_cast<long>(bytes.size() - length)};
    ogg_page_checksum_set(&page);
}

void renumber(Bytes page, long shift)
{
    const uint32_t checksum = numberAt(page, checksumOffset);
    setChecksum(page);
    if (numberAt(page, checksumOffset) != checksum) {
        qToLittleEndian(checksum, page.data() + checksumOffset);
        return;
    }
    const auto number = static_cast<int64_t>(numberAt(page, numberOffset)) + shift;
    qToLittleEndian(static_cast<uint32_t>(number), page.data() + numberOffset);
    setChecksum(page);
}

/// Renumbers the pages of a stream that lie wholly in a piece of its file. Gives how many bytes are done: the
/// rest may be part of a page, unless the piece is the last one.
size_t renumberPages(Bytes bytes, uint32_t serialNumber, long shift, bool isLast)
{
    constexpr std::array name = {std::byte('O'), std::byte('g'), std::byte('g'), std::byte('S')};
    size_t done = 0;
    while (done < bytes.size()) {
        const Bytes rest = bytes.subspan(done);
        const Bytes page = pageAt(rest);
        if (!page.empty()) {
            if (numberAt(page, serialNumberOffset) == serialNumber)
                renumber(page, shift);
            done += page.size();
            continue;
        }
        if (!isLast && rest.size() < longestPage)
            break;
        const auto next = std::search(rest.begin() + 1, rest.end(), name.begin(), name.end());
        // The name may begin at the end of the piece.
        const bool isCut = next == rest.end() && !isLast;
        done += static_cast<size_t>(next - rest.begin()) - (isCut ? name.size() - 1 : 0);
    }
    return done;
}

MaybeError copyRenumbered(const FileHandle& source, const OggHeaders& headers, long shift, FileHandle& target,
                          int64_t offset, Progress& progress)
{
    std::vector<std::byte> buffer(bytesPerRead);
    const ByteRange pages = headers.sound;
    SoundCopyProgress told(progress, pages.length);
    MaybeError error;
    for (int64_t done = 0; done < pages.length && !error;) {
        const int64_t wanted = std::min<int64_t>(std::ssize(buffer), pages.length - done);
        const Bytes bytes = Bytes(buffer).first(static_cast<size_t>(wanted));
        if (source.readAt(pages.offset + done, bytes) < wanted) {
            source.noteMissedRead();
            return missedReadsError(source);
        }
        const size_t count = renumberPages(bytes, headers.serialNumber, shift, done + wanted == pages.length);
        if ((error = target.writeAt(offset + done, bytes.first(count))))
            return error;
        target.startSync(offset + done, static_cast<int64_t>(count));
        done += static_cast<int64_t>(count);
        error = told.didCopy(done);
    }
    return error;
}

} // namespace

MaybeError writeOggWithHeaders(const FileHandle& source, const OggHeaders& headers,
                               const QList<QByteArray>& packets, FileHandle& target, Progress& progress)
{
    long numPages = 0;
    const QByteArray pages = OggHeaders::pagesOf(packets, headers.serialNumber, &numPages);
    if (MaybeError error = target.writeAt(0, pages))
        return error;
    if (numPages == headers.numPages)
        return copySound(source, headers.sound, target, pages.size(), progress);
    return copyRenumbered(source, headers, numPages - headers.numPages, target, pages.size(), progress);
}

} // namespace velloria
