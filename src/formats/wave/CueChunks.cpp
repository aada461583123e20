#include "formats/wave/CueChunks.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

constexpr qsizetype fieldLength = 4;
constexpr qsizetype framePeriodOffset = 8;
constexpr qsizetype loopCountOffset = 28;

uint32_t fieldAt(const QByteArray& bytes, qsizetype offset)
{
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

template <size_t kCount> void appendFields(QByteArray& bytes, const std::array<uint32_t, kCount>& fields)
{
    for (const uint32_t field : fields) {
        const qsizetype offset = bytes.size();
        bytes.resize(offset + fieldLength);
        qToLittleEndian<quint32>(field, bytes.data() + offset);
    }
}

uint32_t storedPosition(int64_t position)
{
    return static_cast<uint32_t>(std::clamp<int64_t>(position, 0, 0xFFFFFFFF));
}

/// How many entries of that length are both told and there.
uint32_t numEntries(uint32_t numTold, qsizetype numBytes, qsizetype entryLength)
{
    return static_cast<uint32_t>(std::min<qsizetype>(numTold, numBytes / entryLength));
}

} // namespace

std::optional<CuePointList> CuePointList::ofPayload(const QByteArray& payload, bool isLinear)
{
    if (payload.size() < headerLength)
        return std::nullopt;
    CuePointList list;
    list.mNumTold = fieldAt(payload, 0);
    list.mNumRead = numEntries(list.mNumTold, payload.size() - headerLength, pointLength);
    list.mIsLinear = isLinear;
    if (list.mNumRead > mostPoints)
        return std::nullopt;
    bool hasOffset = false;
    bool hasPlayPosition = false;
    for (uint32_t i = 0; i < list.mNumRead; ++i) {
        const qsizetype at = headerLength + qsizetype{i} * pointLength;
        list.points.push_back({fieldAt(payload, at), fieldAt(payload, at + 4), fieldAt(payload, at + 8),
                               fieldAt(payload, at + 12), fieldAt(payload, at + 16),
                               fieldAt(payload, at + 20)});
        hasOffset = hasOffset || list.points.back().sampleOffset != 0;
        hasPlayPosition = hasPlayPosition || list.points.back().playPosition != 0;
    }
    list.mHasPlayPositionsOnly = hasPlayPosition && !hasOffset;
    list.mRest = payload.mid(headerLength + qsizetype{list.mNumRead} * pointLength);
    return list;
}

bool CuePointList::usesPlayPosition(const CuePoint& point) const
{
    return mHasPlayPositionsOnly || (!mIsLinear && point.blockStart != 0);
}

int64_t CuePointList::positionOf(const CuePoint& point) const
{
    return usesPlayPosition(point) ? point.playPosition : point.sampleOffset;
}

void CuePointList::setPosition(CuePoint& point, int64_t position) const
{
    const auto before = static_cast<uint32_t>(positionOf(point));
    const uint32_t now = storedPosition(position);
    if (before == now)
        return;
    if (point.playPosition == before)
        point.playPosition = now;
    if (mHasPlayPositionsOnly)
        return;
    // Which block it is only the decoder knows.
    if (!mIsLinear)
        point.blockStart = 0;
    point.sampleOffset = now;
}

CuePoint CuePointList::newPoint(uint32_t ident, int64_t position) const
{
    CuePoint point;
    point.ident = ident;
    point.playPosition = storedPosition(position);
    if (!mHasPlayPositionsOnly)
        point.sampleOffset = point.playPosition;
    return point;
}

QByteArray CuePointList::payload() const
{
    QByteArray payload;
    payload.reserve(headerLength + std::ssize(points) * pointLength + mRest.size());
    appendFields<1>(payload, {points.size() == mNumRead ? mNumTold : static_cast<uint32_t>(points.size())});
    for (const CuePoint& point : points)
        appendFields<6>(payload, {point.ident, point.playPosition, point.chunkIdent, point.chunkStart,
                                  point.blockStart, point.sampleOffset});
    return payload + mRest;
}

std::optional<SamplerChunk> SamplerChunk::ofPayload(const QByteArray& payload)
{
    if (payload.size() < headerLength)
        return std::nullopt;
    SamplerChunk chunk;
    chunk.mHeader = payload.first(headerLength);
    chunk.mNumRead =
        std::min(numEntries(fieldAt(payload, loopCountOffset), payload.size() - headerLength, loopLength),
                 uint32_t{CuePointList::mostPoints});
    for (uint32_t i = 0; i < chunk.mNumRead; ++i) {
        const qsizetype at = headerLength + qsizetype{i} * loopLength;
        chunk.loops.push_back({fieldAt(payload, at), fieldAt(payload, at + 4), fieldAt(payload, at + 8),
                               fieldAt(payload, at + 12), fieldAt(payload, at + 16),
                               fieldAt(payload, at + 20)});
    }
    chunk.mRest = payload.mid(headerLength + qsizetype{chunk.mNumRead} * loopLength);
    return chunk;
}

void SamplerChunk::changeSampleRate(double before, double now)
{
    constexpr double nanoseconds = 1e9;
    if (before == now || before <= 0.0 || now <= 0.0)
        return;
    if (std::abs(fieldAt(mHeader, framePeriodOffset) - nanoseconds / before) <= 1.0)
        qToLittleEndian<quint32>(static_cast<quint32>(std::lround(nanoseconds / now)),
                                 mHeader.data() + framePeriodOffset);
}

QByteArray SamplerChunk::payload() const
{
    QByteArray payload = mHeader;
    if (loops.size() != mNumRead) {
        const uint32_t told = fieldAt(mHeader, loopCountOffset);
        const auto numGone = static_cast<uint32_t>(mNumRead - loops.size());
        qToLittleEndian<quint32>(told - numGone, payload.data() + loopCountOffset);
    }
    for (const SamplerLoop& loop : loops)
        appendFields<6>(payload,
                        {loop.ident, loop.type, loop.start, loop.end, loop.fraction, loop.playCount});
    return payload + mRest;
}

} // namespace velloria
