#include "formats/wave/WaveCues.h"

#include "formats/chunks/MarkerMatching.h"
#include "formats/streams/ByteText.h"
#include "formats/wave/WaveChunkNames.h"
#include "formats/wave/WaveMarkers.h"

#include <algorithm>
#include <utility>

namespace velloria
{

namespace
{

constexpr uint32_t highestIdent = 0x3FFFFFFF;

int64_t storedPosition(int64_t position)
{
    return std::clamp<int64_t>(position, 0, WaveMarkers::highestPosition);
}

/// As far as both kinds of markers can hold it: a label ends at the first zero.
QByteArray comparedName(const QString& name)
{
    return ByteText::bytesOfText(WaveMarkers::storedName(name));
}

} // namespace

QString WaveCues::nameOfEnd(const QString& name)
{
    return QStringLiteral("%1 (end)").arg(name.isEmpty() ? QStringLiteral("Region") : name);
}

bool WaveCues::setPoints(const QByteArray& payload, int64_t fileOffset, bool isLinear)
{
    const auto list = CuePointList::ofPayload(payload, isLinear);
    if (!list)
        return false;
    mPoints = *list;
    mPointsOffset = fileOffset;
    return true;
}

bool WaveCues::setSampler(const QByteArray& payload, int64_t fileOffset)
{
    const auto chunk = SamplerChunk::ofPayload(payload);
    if (!chunk)
        return false;
    mSampler = *chunk;
    mSamplerOffset = fileOffset;
    return true;
}

void WaveCues::findMarkers(int32_t lastIdent)
{
    for (const SamplerLoop& loop : mSampler.loops)
        ++mNumLoopsByIdent[loop.ident];
    findPoints(lastIdent);
    findRegions(lastIdent);
    findLoops(lastIdent);
}

size_t WaveCues::addPlace(Place place, int32_t ident, int64_t position, const QString& name)
{
    mPlaces.push_back(place);
    mMarkers.emplace_back(ident, position, name);
    return mPlaces.size() - 1;
}

/// A marker has the number of its point, where that is the only one.
void WaveCues::findPoints(int32_t& lastIdent)
{
    for (const CuePoint& point : mPoints.points) {
        if (point.ident <= highestIdent)
            lastIdent = std::max(lastIdent, static_cast<int32_t>(point.ident));
    }
    for (size_t i = 0; i < mPoints.points.size(); ++i) {
        const CuePoint& point = mPoints.points[i];
        const bool isFirst = mPointsByIdent.try_emplace(point.ident, mPlaces.size()).second;
        const bool hasIdent = isFirst && point.ident > 0 && point.ident <= highestIdent;
        addPlace({Kind::point, i, 0}, hasIdent ? static_cast<int32_t>(point.ident) : ++lastIdent,
                 mPoints.positionOf(point), mTexts.nameOf(point.ident));
    }
}

void WaveCues::findRegions(int32_t& lastIdent)
{
    for (const CueTexts::Region& region : mTexts.regions()) {
        const auto point = mPointsByIdent.find(region.ident);
        if (point == mPointsByIdent.end())
            continue;
        const AudioMarker start = mMarkers[point->second];
        // Damaged, or of a sound that no file of this kind holds.
        if (start.position() + region.numFrames > WaveMarkers::highestPosition)
            continue;
        mRegions.push_back(region);
        addPlace({Kind::regionEnd, mRegions.size() - 1, point->second}, ++lastIdent,
                 start.position() + region.numFrames, nameOfEnd(start.name()));
    }
}

void WaveCues::findLoops(int32_t& lastIdent)
{
    for (size_t i = 0; i < mSampler.loops.size(); ++i) {
        const SamplerLoop& loop = mSampler.loops[i];
        if (!loop.isValid())
            continue;
        const auto point = mPointsByIdent.find(loop.ident);
        const bool isAtPoint =
            point != mPointsByIdent.end() && mMarkers[point->second].position() == loop.start;
        QString name = isAtPoint || hasOwnName(i) ? mTexts.nameOf(loop.ident) : QString();
        if (name.isEmpty())
            name = QStringLiteral("Loop");
        const size_t start =
            isAtPoint ? point->second : addPlace({Kind::loopStart, i, 0}, ++lastIdent, loop.start, name);
        addPlace({Kind::loopEnd, i, start}, ++lastIdent, int64_t{loop.end} + 1, nameOfEnd(name));
    }
}

/// Whether a text with the loop's number names nothing else.
bool WaveCues::hasOwnName(size_t loop) const
{
    const uint32_t ident = mSampler.loops[loop].ident;
    const auto found = mNumLoopsByIdent.find(ident);
    return found != mNumLoopsByIdent.end() && found->second == 1 && !mPointsByIdent.contains(ident);
}

bool WaveCues::isNameStored(size_t place) const
{
    const Place& each = mPlaces[place];
    return each.kind == Kind::point || (each.kind == Kind::loopStart && hasOwnName(each.index));
}

std::vector<AudioMarkerPtr> WaveCues::markers() const
{
    std::vector<AudioMarkerPtr> markers;
    markers.reserve(mMarkers.size());
    for (const AudioMarker& marker : mMarkers)
        markers.push_back(AudioMarker::markerWithMarker(marker));
    return markers;
}

WaveCues::OwnMarkers WaveCues::compareWith(const std::vector<AudioMarkerPtr>& own)
{
    std::map<std::pair<int64_t, QByteArray>, std::vector<size_t>> left;
    for (size_t i = own.size(); i-- > 0;)
        left[{storedPosition(own[i]->position()), comparedName(own[i]->name())}].push_back(i);
    std::vector<bool> isTaken(own.size());
    // Gives the index of one that is taken then.
    const auto take = [&](decltype(left)::iterator found) {
        const size_t index = found->second.back();
        found->second.pop_back();
        if (found->second.empty())
            left.erase(found);
        isTaken[index] = true;
        return index;
    };
    OwnMarkers result;
    std::vector<size_t> missing;
    for (size_t i = 0; i < mMarkers.size(); ++i) {
        const AudioMarker& marker = mMarkers[i];
        const auto found = left.find({storedPosition(marker.position()), comparedName(marker.name())});
        if (found == left.end())
            missing.push_back(i);
        else
            take(found);
    }
    for (const size_t i : missing) {
        const int64_t position = storedPosition(mMarkers[i].position());
        const auto found = isNameStored(i) ? left.end() : left.lower_bound({position, QByteArray()});
        if (found == left.end() || found->first.first != position)
            result.hasAll = false;
        else
            mMarkers[i].setName(own[take(found)]->name());
    }
    for (size_t i = 0; i < own.size(); ++i) {
        if (!isTaken[i])
            result.others.push_back(own[i]);
    }
    return result;
}

void WaveCues::takeIdentsOf(const MarkerList& markers)
{
    if (!markers)
        return;
    const MarkerMatching matching(mMarkers, *markers);
    std::vector<int32_t> idents;
    for (size_t i = 0; i < mMarkers.size(); ++i) {
        const AudioMarker* const marker = matching.markerOf(i);
        idents.push_back(marker ? marker->ident() : 0);
    }
    for (size_t i = 0; i < mMarkers.size(); ++i)
        mMarkers[i].setIdent(idents[i]);
}

void WaveCues::declare(FileLedger& ledger) const
{
    std::set<uint32_t> identsNamed;
    for (const auto& [ident, place] : mPointsByIdent)
        identsNamed.insert(ident);
    for (size_t i = 0; i < mSampler.loops.size(); ++i) {
        if (hasOwnName(i))
            identsNamed.insert(mSampler.loops[i].ident);
    }
    mTexts.declare(identsNamed, ledger);
    if (mSamplerOffset)
        ledger.add({ItemKind::part,
                    Keeping::asBytes,
                    nameOfWaveChunk(fourCharCode("smpl")),
                    {*mSamplerOffset, mSampler.payload().size()}});
    if (!mPointsOffset)
        return;
    const QString name = nameOfWaveChunk(fourCharCode("cue "));
    const ByteRange header = {*mPointsOffset, CuePointList::headerLength};
    const ByteRange points = {header.end(), std::ssize(mPoints.points) * CuePointList::pointLength};
    ledger.addInModel(points);
    if (mPoints.isWhole())
        ledger.addStructure(header);
    else
        ledger.add({ItemKind::part, Keeping::asBytes, name, header});
    if (mPoints.restLength() > 0)
        ledger.add({ItemKind::part, Keeping::asBytes, name, {points.end(), mPoints.restLength()}});
}

} // namespace velloria
