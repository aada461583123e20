#include "formats/caf/CafMarkList.h"

#include "formats/caf/CafMarkers.h"
#include "formats/chunks/MarkerMatching.h"
#include "formats/streams/BigEndianOutputStream.h"

#include <QtEndian>
#include <algorithm>
#include <map>
#include <set>

namespace velloria
{

namespace
{

constexpr qsizetype positionOffset = 4;
constexpr qsizetype identOffset = 12;

uint32_t identOf(const QByteArray& entry)
{
    return qFromBigEndian<quint32>(entry.constData() + identOffset);
}

} // namespace

CafMarkList::CafMarkList(const QByteArray& markerPayload, const QByteArray& stringsPayload)
    : mMarkerPayload(markerPayload)
    , mStringsPayload(stringsPayload)
{
    const CafMarkers::Result result = CafMarkers::markersOfPayloads(markerPayload, stringsPayload);
    for (const AudioMarkerPtr& marker : result.markers) {
        const auto index = std::ssize(mEntries);
        mEntries.push_back(markerPayload.mid(CafMarkers::markersHeader + index * CafMarkers::markerLength,
                                             CafMarkers::markerLength));
        mMarkers.push_back(*marker);
    }
    mNames = CafMarkers::namesOfPayload(stringsPayload);
}

void CafMarkList::takeIdentsOf(const std::vector<AudioMarkerPtr>& markers)
{
    const MarkerMatching matching(mMarkers, markers);
    for (size_t i = 0; i < mMarkers.size(); ++i) {
        if (const AudioMarker* const marker = matching.markerOf(i))
            mMarkers[i] = *marker;
    }
}

class CafMarkList::Editing
{
public:
    Editing(const CafMarkList& list, const std::vector<AudioMarkerPtr>& now)
        : mList(list)
        , mMatching(list.mMarkers, now)
        , mNames(list.mNames)
    {
        for (const QByteArray& entry : list.mEntries) {
            mIdentsUsed.insert(identOf(entry));
            // The first frame is the same in both forms.
            mHasStandardPositions = mHasStandardPositions || (!isOwn(entry) && !isAtStart(entry));
        }
        for (size_t i = 0; i < mNames.size(); ++i) {
            mIdentsUsed.insert(mNames[i].ident);
            mNameOf.try_emplace(mNames[i].ident, i);
        }
    }

    Payloads edited()
    {
        for (size_t i = 0; i < mList.mEntries.size(); ++i)
            editEntry(i);
        for (const AudioMarkerPtr& marker : mMatching.added())
            add(*marker);
        if (!mIsChanged)
            return {mList.mMarkerPayload, mList.mStringsPayload};
        removeNames();
        return {markerPayload(), CafMarkers::stringsPayloadOf(mNames)};
    }

private:
    static bool isOwn(const QByteArray& entry)
    {
        return CafMarkers::isOwnPosition(entry.constData() + positionOffset);
    }

    static bool isAtStart(const QByteArray& entry)
    {
        return entry.mid(positionOffset, identOffset - positionOffset) ==
               QByteArray(identOffset - positionOffset, '\0');
    }

    bool becomesOwn(const QByteArray& entry) const
    {
        return isAtStart(entry) ? !mHasStandardPositions : isOwn(entry);
    }

    void editEntry(size_t index)
    {
        const AudioMarker* const marker = mMatching.markerOf(index);
        const AudioMarker& before = mList.mMarkers[index];
        mIsChanged = mIsChanged || !marker;
        if (!marker)
            return;
        QByteArray entry = mList.mEntries[index];
        if (marker->position() != before.position()) {
            CafMarkers::storePosition(marker->position(), becomesOwn(entry), entry.data() + positionOffset);
            mIsChanged = true;
        }
        const bool isFirst = mIdentsKept.insert(identOf(entry)).second;
        if (marker->name() != before.name()) {
            // Two with one number have one name.
            if (!isFirst)
                setIdent(entry, newIdent());
            rename(identOf(entry), marker->name());
        }
        mEntries += entry;
        ++mNumEntries;
    }

    void add(const AudioMarker& marker)
    {
        QByteArray entry(CafMarkers::markerLength, '\0');
        CafMarkers::storePosition(marker.position(), !mHasStandardPositions, entry.data() + positionOffset);
        constexpr qsizetype timeOffset = 16;
        constexpr qsizetype timeLength = 8;
        entry.replace(timeOffset, timeLength, QByteArray(timeLength, '\xFF'));
        setIdent(entry, newIdent());
        rename(identOf(entry), marker.name());
        mEntries += entry;
        ++mNumEntries;
    }

    void setIdent(QByteArray& entry, uint32_t ident)
    {
        qToBigEndian<quint32>(ident, entry.data() + identOffset);
        mIdentsKept.insert(ident);
    }

    uint32_t newIdent()
    {
        while (!mIdentsUsed.insert(mNextIdent).second)
            ++mNextIdent;
        return mNextIdent++;
    }

    void rename(uint32_t ident, const QString& name)
    {
        mIsChanged = true;
        const QByteArray text = CafMarkers::storedName(name);
        const auto [found, isNew] = mNameOf.try_emplace(ident, mNames.size());
        if (isNew)
            mNames.push_back({ident, text});
        else
            mNames[found->second].text = text;
    }

    /// Of markers that are gone; those of other things stay.
    void removeNames()
    {
        std::set<uint32_t> gone;
        for (const QByteArray& entry : mList.mEntries) {
            if (!mIdentsKept.contains(identOf(entry)))
                gone.insert(identOf(entry));
        }
        std::erase_if(mNames, [&gone](const CafMarkers::Name& name) { return gone.contains(name.ident); });
    }

    QByteArray markerPayload() const
    {
        if (mNumEntries == 0)
            return {};
        BigEndianOutputStream stream;
        stream.appendData(mList.mMarkerPayload.leftJustified(4, '\0').first(4));
        stream.writeUInt32(mNumEntries);
        return stream.data() + mEntries;
    }

    const CafMarkList& mList;
    MarkerMatching mMatching;
    std::vector<CafMarkers::Name> mNames;
    /// Where the name of a number is.
    std::map<uint32_t, size_t> mNameOf;
    QByteArray mEntries;
    uint32_t mNumEntries = 0;
    std::set<uint32_t> mIdentsUsed;
    std::set<uint32_t> mIdentsKept;
    uint32_t mNextIdent = 1;
    bool mHasStandardPositions = false;
    bool mIsChanged = false;
};

CafMarkList::Payloads CafMarkList::edited(const std::vector<AudioMarkerPtr>& now) const
{
    return Editing(*this, now).edited();
}

} // namespace velloria
