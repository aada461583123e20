#include "formats/flac/FlacSeekTable.h"

#include <FLAC/format.h>
#include <QtEndian>
#include <algorithm>
#include <limits>

namespace velloria
{

namespace
{

// Layout: https://www.rfc-editor.org/rfc/rfc9639#section-8.5
constexpr qsizetype pointLength = 18;
constexpr qsizetype offsetInPoint = 8;
constexpr qsizetype countInPoint = 16;
constexpr quint64 placeholder = ~quint64{0};
// More would not fit into a block of 16 MB.
constexpr size_t mostPoints = 900000;

auto findIn(FlacMetadataEdit::Blocks& blocks)
{
    return std::ranges::find(blocks, FLAC__METADATA_TYPE_SEEKTABLE, &FlacMetadataEdit::Block::type);
}

} // namespace

FlacSeekTable::FlacSeekTable(const QByteArray& other, int64_t numFrames)
{
    const qsizetype numOthers = other.size() / pointLength;
    int64_t numPlaceholders = 0;
    std::vector<int64_t> places;
    for (qsizetype i = 0; i < numOthers; ++i) {
        const auto frame = qFromBigEndian<quint64>(other.constData() + i * pointLength);
        if (frame == placeholder)
            ++numPlaceholders;
        else if (frame <= static_cast<quint64>(std::numeric_limits<int64_t>::max()))
            places.push_back(static_cast<int64_t>(frame));
    }
    std::ranges::sort(places);
    places.erase(std::unique(places.begin(), places.end()), places.end());
    for (const int64_t place : places) {
        if (place < numFrames)
            mTargets.push_back(place);
    }
    if (places.size() > 1) {
        const int64_t step = (places.back() - places.front()) / static_cast<int64_t>(places.size() - 1);
        for (int64_t place = places.back() + step; place < numFrames && mTargets.size() < mostPoints;
             place += step)
            mTargets.push_back(place);
    }
    mNumPoints = std::max<int64_t>(1, static_cast<int64_t>(mTargets.size()) + numPlaceholders);
}

std::optional<FlacSeekTable> FlacSeekTable::inPlaceOf(FlacMetadataEdit::Blocks& blocks, int64_t numFrames)
{
    const auto block = findIn(blocks);
    if (block == blocks.end())
        return std::nullopt;
    FlacSeekTable table(block->payload, numFrames);
    block->payload = table.payload();
    return table;
}

void FlacSeekTable::putInto(FlacMetadataEdit::Blocks& blocks) const
{
    if (const auto block = findIn(blocks); block != blocks.end())
        block->payload = payload();
}

void FlacSeekTable::didWrite(int64_t firstFrame, int64_t offset, int64_t numFrames)
{
    bool isWanted = false;
    for (; mNumFound < mTargets.size() && mTargets[mNumFound] < firstFrame + numFrames; ++mNumFound)
        isWanted = true;
    if (isWanted)
        mPoints.push_back({firstFrame, offset, numFrames});
}

QByteArray FlacSeekTable::payload() const
{
    QByteArray payload(mNumPoints * pointLength, '\0');
    for (int64_t i = 0; i < mNumPoints; ++i) {
        char* const point = payload.data() + i * pointLength;
        if (i >= std::ssize(mPoints)) {
            qToBigEndian(placeholder, point);
            continue;
        }
        const Point& found = mPoints[static_cast<size_t>(i)];
        qToBigEndian(found.firstFrame, point);
        qToBigEndian(found.offset, point + offsetInPoint);
        qToBigEndian(static_cast<quint16>(found.numFrames), point + countInPoint);
    }
    return payload;
}

} // namespace velloria
