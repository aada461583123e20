#include "formats/aiff/AiffMarkList.h"

#include "formats/aiff/AiffMarkers.h"
#include "formats/chunks/MarkerMatching.h"
#include "formats/streams/BigEndianOutputStream.h"

#include <algorithm>
#include <map>
#include <utility>

namespace velloria
{

namespace
{

int64_t storedPosition(const AudioMarker& marker)
{
    return std::clamp<int64_t>(marker.position(), 0, AiffMarkers::highestPosition);
}

} // namespace

AiffMarkList::AiffMarkList(const QByteArray& payload)
{
    const AiffMarkers::Result result = AiffMarkers::markersOfPayload(payload);
    qsizetype offset = 2;
    for (const AudioMarkerPtr& marker : result.markers) {
        const qsizetype nameLength =
            static_cast<uint8_t>(payload[offset + AiffMarkers::entryHeaderLength - 1]);
        const qsizetype length = AiffMarkers::entryHeaderLength + nameLength + (nameLength % 2 == 0 ? 1 : 0);
        mEntries.push_back({static_cast<uint16_t>(marker->ident()),
                            payload.mid(offset, length).leftJustified(length, '\0')});
        mMarkers.push_back(*marker);
        offset += length;
    }
    if (result.isComplete)
        mRest = payload.mid(offset);
}

bool AiffMarkList::pairWith(const std::vector<AudioMarkerPtr>& markers)
{
    std::map<std::pair<int64_t, QByteArray>, std::vector<const AudioMarker*>> left;
    for (auto marker = markers.rbegin(); marker != markers.rend(); ++marker)
        left[{storedPosition(**marker), AiffMarkers::storedName((*marker)->name())}].push_back(marker->get());
    bool hasAll = true;
    for (AudioMarker& each : mMarkers) {
        const auto found = left.find({storedPosition(each), AiffMarkers::storedName(each.name())});
        if (found == left.end() || found->second.empty()) {
            hasAll = false;
            continue;
        }
        each = *found->second.back();
        found->second.pop_back();
    }
    return hasAll && std::ssize(mMarkers) == std::min(std::ssize(markers), AiffMarkers::mostMarkers);
}

QByteArray AiffMarkList::edited(const std::vector<AudioMarkerPtr>& now,
                                const std::set<uint16_t>& identsNamed) const
{
    const MarkerMatching matching(mMarkers, now);
    std::set<uint16_t> identsUsed = identsNamed;
    QByteArray entries;
    int64_t count = 0;
    for (size_t i = 0; i < mEntries.size(); ++i) {
        identsUsed.insert(mEntries[i].ident);
        const AudioMarker* const marker = matching.markerOf(i);
        if (!marker)
            continue;
        const bool isSame =
            storedPosition(*marker) == storedPosition(mMarkers[i]) && marker->name() == mMarkers[i].name();
        entries += isSame ? mEntries[i].bytes : AiffMarkers::entryOf(mEntries[i].ident, *marker);
        ++count;
    }
    uint16_t ident = 0;
    for (const AudioMarkerPtr& marker : matching.added()) {
        if (count == AiffMarkers::mostMarkers)
            break;
        // The format has no ID of 0.
        do {
            ++ident;
        } while (!identsUsed.insert(ident).second && identsUsed.size() <= size_t{AiffMarkers::mostMarkers});
        entries += AiffMarkers::entryOf(ident, *marker);
        ++count;
    }
    if (count == 0)
        return {};
    BigEndianOutputStream stream;
    stream.writeUInt16(static_cast<uint16_t>(count));
    return stream.data() + entries + mRest;
}

bool AiffMarkList::losesAnyOf(const std::set<uint16_t>& idents, const std::vector<AudioMarkerPtr>& now) const
{
    const MarkerMatching matching(mMarkers, now);
    for (size_t i = 0; i < mEntries.size(); ++i) {
        if (idents.contains(mEntries[i].ident) && !matching.markerOf(i))
            return true;
    }
    return false;
}

} // namespace velloria
