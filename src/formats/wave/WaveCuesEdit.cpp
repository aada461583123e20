// What becomes of the chunks with cue points, regions and loops when markers were changed.
#include "formats/chunks/MarkerMatching.h"
#include "formats/wave/WaveCues.h"

#include <algorithm>

namespace velloria
{

namespace
{

const std::vector<AudioMarkerPtr> noMarkers;

} // namespace

/// Copies of the chunks, and the markers of which each place was made.
class WaveCues::Editing
{
public:
    Editing(const WaveCues& cues, const Target& target)
        : mCues(cues)
        , mTarget(target)
        , mMatching(cues.mMarkers, target.markers ? *target.markers : noMarkers)
        , mAdded(mMatching.added())
        , mPoints(cues.mPoints)
        , mSampler(cues.mSampler)
        , mTexts(cues.mTexts)
        , mIdentsUsed(cues.mTexts.idents())
    {
        for (const CuePoint& point : mPoints.points)
            mIdentsUsed.insert(point.ident);
        for (const SamplerLoop& loop : mSampler.loops)
            mIdentsUsed.insert(loop.ident);
    }

    Edit edit()
    {
        editRegions();
        editLoops();
        editPoints();
        removeTexts();
        if (mTarget.addsPoints)
            addPoints();
        return result();
    }

private:
    const AudioMarker* markerOf(size_t place) const { return mMatching.markerOf(place); }

    /// Both ends, where they still make a stretch of sound.
    struct Span {
        const AudioMarker* start = nullptr;
        const AudioMarker* end = nullptr;
        explicit operator bool() const { return start && end && start->position() < end->position(); }
    };
    Span spanTo(size_t endPlace) const
    {
        return {markerOf(mCues.mPlaces[endPlace].start), markerOf(endPlace)};
    }

    /// A marker whose region or loop is no more becomes a point.
    void setFree(size_t place)
    {
        if (const AudioMarker* const marker = markerOf(place))
            mAdded.push_back(AudioMarker::markerWithMarker(*marker));
    }

    void checkNameOfEnd(const Span& span, size_t endPlace)
    {
        const QString& name = span.end->name();
        const bool isKnown = name == mCues.mMarkers[endPlace].name() || name == nameOfEnd(span.start->name());
        mForgetsNames = mForgetsNames || !isKnown;
    }

    void editRegions()
    {
        for (size_t i = 0; i < mCues.mPlaces.size(); ++i) {
            const Place& place = mCues.mPlaces[i];
            if (place.kind != Kind::regionEnd)
                continue;
            const CueTexts::Region& region = mCues.mRegions[place.index];
            const Span span = spanTo(i);
            if (!span) {
                setFree(i);
                mTexts.setLength(region, 0);
                continue;
            }
            mTexts.setLength(region, span.end->position() - span.start->position());
            checkNameOfEnd(span, i);
        }
    }

    void editLoops()
    {
        mSampler.changeSampleRate(mTarget.sampleRateBefore, mTarget.sampleRate);
        std::vector<bool> isGone(mSampler.loops.size());
        for (size_t i = 0; i < mCues.mPlaces.size(); ++i) {
            const Place& place = mCues.mPlaces[i];
            if (place.kind != Kind::loopEnd)
                continue;
            const bool hasOwnStart = mCues.mPlaces[place.start].kind == Kind::loopStart;
            const Span span = spanTo(i);
            isGone[place.index] = !span;
            if (!span) {
                if (hasOwnStart)
                    setFree(place.start);
                setFree(i);
                continue;
            }
            SamplerLoop& loop = mSampler.loops[place.index];
            loop.start = framePosition(span.start->position());
            loop.end = framePosition(span.end->position() - 1);
            checkNameOfEnd(span, i);
            if (hasOwnStart)
                rename(place, span.start->name());
        }
        std::vector<SamplerLoop> kept;
        for (size_t i = 0; i < isGone.size(); ++i) {
            if (isGone[i])
                continue;
            kept.push_back(mSampler.loops[i]);
            mIdentsKept.insert(kept.back().ident);
        }
        mSampler.loops = std::move(kept);
    }

    static uint32_t framePosition(int64_t position)
    {
        return static_cast<uint32_t>(std::clamp<int64_t>(position, 0, 0xFFFFFFFF));
    }

    /// Of a loop.
    void rename(const Place& loopEnd, const QString& name)
    {
        if (name == mCues.mMarkers[loopEnd.start].name())
            return;
        if (mCues.hasOwnName(loopEnd.index))
            mTexts.setName(mSampler.loops[loopEnd.index].ident, name);
        else
            mForgetsNames = true;
    }

    /// Points with the same number have the same name; the one that gets another name gets a number, too.
    void editPoints()
    {
        std::map<uint32_t, QString> names;
        std::vector<CuePoint> points;
        for (size_t i = 0; i < mCues.mPlaces.size(); ++i) {
            const Place& place = mCues.mPlaces[i];
            const AudioMarker* const marker = place.kind == Kind::point ? markerOf(i) : nullptr;
            if (!marker)
                continue;
            CuePoint point = mPoints.points[place.index];
            mPoints.setPosition(point, marker->position());
            const auto [name, isFirst] = names.try_emplace(point.ident, marker->name());
            if (!isFirst && name->second != marker->name())
                point.ident = newIdent();
            mTexts.setName(point.ident, marker->name());
            mIdentsKept.insert(point.ident);
            points.push_back(point);
        }
        mPoints.points = std::move(points);
    }

    void removeTexts()
    {
        for (const CuePoint& point : mCues.mPoints.points)
            removeText(point.ident);
        for (const SamplerLoop& loop : mCues.mSampler.loops)
            removeText(loop.ident);
    }

    void removeText(uint32_t ident)
    {
        if (!mIdentsKept.contains(ident))
            mTexts.remove(ident);
    }

    void addPoints()
    {
        for (const AudioMarkerPtr& marker : mAdded) {
            if (mPoints.points.size() >= CuePointList::mostPoints)
                break;
            const uint32_t ident = newIdent();
            mPoints.points.push_back(mPoints.newPoint(ident, marker->position()));
            mTexts.setName(ident, marker->name());
        }
    }

    uint32_t newIdent()
    {
        while (!mIdentsUsed.insert(mNextIdent).second)
            ++mNextIdent;
        return mNextIdent++;
    }

    Edit result() const
    {
        Edit edit;
        edit.gone = mTexts.offsetsGone();
        edit.forgetsNames = mForgetsNames;
        for (const int64_t offset : mTexts.listOffsets())
            edit.payloads[offset] = mTexts.payload(offset);
        edit.newTexts = mTexts.newPayload();
        if (mCues.mSamplerOffset)
            edit.payloads[*mCues.mSamplerOffset] = mSampler.payload();
        if (!mCues.mPointsOffset) {
            if (!mPoints.points.empty())
                edit.newPoints = mPoints.payload();
            return edit;
        }
        const bool isSame = mPoints.points.size() == mCues.mPoints.points.size();
        const bool isEmptied = !isSame && mPoints.points.empty() && mPoints.restLength() == 0;
        edit.payloads[*mCues.mPointsOffset] = isEmptied ? QByteArray() : mPoints.payload();
        if (!isSame && !mPoints.isWhole())
            edit.gone.insert(*mCues.mPointsOffset);
        return edit;
    }

    const WaveCues& mCues;
    const Target& mTarget;
    MarkerMatching mMatching;
    std::vector<AudioMarkerPtr> mAdded;
    CuePointList mPoints;
    SamplerChunk mSampler;
    CueTexts mTexts;
    std::set<uint32_t> mIdentsUsed;
    std::set<uint32_t> mIdentsKept;
    uint32_t mNextIdent = 1;
    bool mForgetsNames = false;
};

WaveCues::Edit WaveCues::edit(const Target& target) const
{
    return Editing(*this, target).edit();
}

} // namespace velloria
