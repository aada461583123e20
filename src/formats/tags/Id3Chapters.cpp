#include "formats/tags/Id3Chapters.h"

#include "formats/tags/Id3ChapterFrames.h"

#include <QSet>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace velloria::Id3Chapters
{

namespace
{

constexpr double millisecondsPerSecond = 1000.0;
constexpr size_t noFrame = SIZE_MAX;
constexpr int firstVersionWithChapters = 3;
constexpr size_t mostInList = 255; // its count has one byte; chapters beyond that stand without a list

/// A chapter with the frame that it came from.
struct Place {
    Id3Chapter chapter;
    size_t frame = noFrame;
    /// In the order of time, from 1; the marker that is made of it has the same.
    int32_t ident = 0;
};

std::vector<Place> placesOf(const Id3Layout& layout)
{
    std::vector<Place> places;
    for (size_t i = 0; i < layout.frames().size(); ++i) {
        const Id3StoredFrame& frame = layout.frames()[i];
        if (frame.id != "CHAP" || frame.isUnreadable)
            continue;
        if (auto chapter = Id3Chapter::ofPayload(frame.content(), layout.version()))
            places.push_back({*std::move(chapter), i});
    }
    std::stable_sort(places.begin(), places.end(),
                     [](const Place& a, const Place& b) { return a.chapter.start < b.chapter.start; });
    for (size_t i = 0; i < places.size(); ++i)
        places[i].ident = static_cast<int32_t>(i) + 1;
    return places;
}

/// Gives each marker the chapter that it was, as far as time and name tell, or its number where both changed.
class Matching
{
public:
    Matching(const std::vector<Place>& before, const std::vector<AudioMarkerPtr>& markers, double sampleRate)
        : mBefore(before)
        , mIsUsed(before.size())
        , mMatches(markers.size(), noFrame)
    {
        const auto time = [sampleRate](const AudioMarker& marker) {
            return timeOf(marker.position(), sampleRate);
        };
        match(markers, [&](const AudioMarker& marker, const Place& place) {
            return time(marker) == place.chapter.start && marker.name() == place.chapter.title;
        });
        match(markers, [&](const AudioMarker& marker, const Place& place) {
            return time(marker) == place.chapter.start;
        });
        match(markers, [](const AudioMarker& marker, const Place& place) {
            return !place.chapter.title.isEmpty() && marker.name() == place.chapter.title;
        });
        match(markers,
              [](const AudioMarker& marker, const Place& place) { return marker.ident() == place.ident; });
    }

    /// Null for a new one.
    const Place* of(size_t marker) const
    {
        return mMatches[marker] == noFrame ? nullptr : &mBefore[mMatches[marker]];
    }

private:
    /// Both lists are in the order of time, so that the next one is the likeliest.
    template <typename Predicate> void match(const std::vector<AudioMarkerPtr>& markers, Predicate isSame)
    {
        for (size_t i = 0, next = 0; i < markers.size() && !mBefore.empty(); ++i) {
            for (size_t k = 0; k < mBefore.size() && mMatches[i] == noFrame; ++k) {
                const size_t candidate = (next + k) % mBefore.size();
                if (mIsUsed[candidate] || !isSame(*markers[i], mBefore[candidate]))
                    continue;
                mIsUsed[candidate] = true;
                mMatches[i] = candidate;
                next = candidate + 1;
            }
        }
    }

    const std::vector<Place>& mBefore;
    std::vector<bool> mIsUsed;
    std::vector<size_t> mMatches;
};

std::vector<AudioMarkerPtr> sorted(const MarkerList& markers)
{
    std::vector<AudioMarkerPtr> list = markers ? *markers : std::vector<AudioMarkerPtr>();
    std::stable_sort(list.begin(), list.end(), [](const AudioMarkerPtr& a, const AudioMarkerPtr& b) {
        return a->position() < b->position();
    });
    return list;
}

/// `number` is the one that was given last.
QByteArray newElementID(const QSet<QByteArray>& taken, int& number)
{
    QByteArray id;
    do
        id = "chp" + QByteArray::number(++number);
    while (taken.contains(id));
    return id;
}

/// A chapter ends where the next one begins, or with the sound, unless there was a gap before.
void setEnds(std::vector<Place>& now, const std::vector<Place>& before, const Matching& matching,
             const Target& target)
{
    // Whoever wrote the tag may have measured the sound with the encoder's silence.
    constexpr uint32_t tolerance = 200;
    const uint32_t end = timeOf(target.numFrames, target.sampleRate);
    const uint32_t endWas = timeOf(target.numFramesBefore, target.sampleRate);
    for (size_t i = 0; i < now.size(); ++i) {
        Id3Chapter& chapter = now[i].chapter;
        const uint32_t next = i + 1 < now.size() ? now[i + 1].chapter.start : end;
        const Place* const was = matching.of(i);
        if (!was) {
            chapter.end = std::max(next, chapter.start);
            continue;
        }
        const uint32_t nextWas = was == &before.back() ? endWas : (was + 1)->chapter.start;
        if (next == nextWas) {
            if (chapter.start != was->chapter.start)
                chapter.end = std::max(chapter.end, chapter.start);
            continue;
        }
        const bool hadGap = was->chapter.end + tolerance < nextWas;
        const uint32_t length = was->chapter.end - was->chapter.start;
        chapter.end = std::max(hadGap ? std::min(next, chapter.start + length) : next, chapter.start);
    }
}

/// The chapters as they are now.
std::vector<Place> placesNow(const std::vector<Place>& before, const Id3FrameMaker& maker,
                             const Target& target)
{
    const std::vector<AudioMarkerPtr> markers = sorted(target.markers);
    const Matching matching(before, markers, target.sampleRate);
    QSet<QByteArray> taken;
    for (const Place& place : before)
        taken.insert(place.chapter.elementID);
    std::vector<Place> now;
    int lastNumber = 0;
    for (size_t i = 0; i < markers.size(); ++i) {
        const Place* const was = matching.of(i);
        Place place = was ? *was : Place{};
        if (!was)
            place.chapter.elementID = newElementID(taken, lastNumber);
        place.chapter.start = timeOf(markers[i]->position(), target.sampleRate);
        if (place.chapter.title != markers[i]->name())
            place.chapter.setTitle(markers[i]->name(), maker);
        now.push_back(std::move(place));
    }
    setEnds(now, before, matching, target);
    return now;
}

/// The lists with chapters that are gone or new: a new one follows the chapter before it.
void editLists(const Id3Layout& layout, const Id3FrameMaker& maker, const std::vector<Place>& before,
               const std::vector<Place>& now, Edit& edit)
{
    QSet<QByteArray> gone;
    for (const Place& place : before)
        gone.insert(place.chapter.elementID);
    for (const Place& place : now)
        gone.remove(place.chapter.elementID);
    bool isFirstList = true;
    for (size_t i = 0; i < layout.frames().size(); ++i) {
        const Id3StoredFrame& frame = layout.frames()[i];
        auto list = frame.id == "CTOC" && !frame.isUnreadable ? Id3ChapterList::ofPayload(frame.content())
                                                              : std::nullopt;
        if (!list)
            continue;
        const QList<QByteArray> children = list->children;
        const bool holdsChapters = std::any_of(before.begin(), before.end(), [&](const Place& place) {
            return children.contains(place.chapter.elementID);
        });
        list->children.removeIf([&gone](const QByteArray& id) { return gone.contains(id); });
        qsizetype place = 0;
        for (const Place& each : now) {
            const qsizetype index = list->children.indexOf(each.chapter.elementID);
            if (each.frame == noFrame && holdsChapters && isFirstList)
                list->children.insert(place++, each.chapter.elementID);
            else if (index >= 0)
                place = index + 1;
        }
        isFirstList = isFirstList && !holdsChapters;
        if (list->children.isEmpty() && holdsChapters)
            edit.replacements[i] = QByteArray();
        else if (list->children != children)
            edit.replacements[i] = maker.data("CTOC", list->payload(), &frame);
    }
}

/// As other programs expect it: at the top, in the order of time.
QByteArray firstList(const Id3FrameMaker& maker, const std::vector<Place>& now)
{
    constexpr char isTopLevelAndOrdered = 3;
    Id3ChapterList list;
    list.elementID = "toc";
    list.flags = isTopLevelAndOrdered;
    for (const Place& place : now)
        list.children.append(place.chapter.elementID);
    return maker.data("CTOC", list.payload(), nullptr);
}

} // namespace

uint32_t timeOf(int64_t position, double sampleRate)
{
    constexpr double latest = 4294967295.0; // the field has 32 bits
    const double time = static_cast<double>(position) * millisecondsPerSecond / std::max(1.0, sampleRate);
    return static_cast<uint32_t>(std::clamp(std::round(time), 0.0, latest));
}

int64_t positionOf(uint32_t milliseconds, double sampleRate)
{
    return std::llround(milliseconds * sampleRate / millisecondsPerSecond);
}

MarkerList markers(const QByteArray& tag, double sampleRate)
{
    const auto layout = Id3Layout::ofTag(tag);
    std::vector<AudioMarkerPtr> list;
    if (layout) {
        for (const Place& place : placesOf(*layout))
            list.push_back(std::make_shared<AudioMarker>(
                place.ident, positionOf(place.chapter.start, sampleRate), place.chapter.title));
    }
    return list.empty() ? nullptr : std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(list));
}

bool canHold(const QByteArray& tag)
{
    const auto layout = Id3Layout::ofTag(tag);
    return layout && layout->version() >= firstVersionWithChapters;
}

std::optional<bool> holdsMore(QByteArrayView id, QByteArrayView payload)
{
    if (id == "CTOC") {
        const auto list = Id3ChapterList::ofPayload(payload);
        return list ? std::optional(!list->rest.isEmpty()) : std::nullopt;
    }
    // Sizes of small frames are the same in both versions.
    auto chapter = Id3Chapter::ofPayload(payload, 3);
    if (!chapter)
        chapter = Id3Chapter::ofPayload(payload, 4);
    return chapter ? std::optional(chapter->holdsMore()) : std::nullopt;
}

Edit edit(const Id3Layout& layout, const Id3FrameMaker& maker, const Target& target)
{
    Edit edit;
    const std::vector<Place> before = placesOf(layout);
    const std::vector<Place> now = placesNow(before, maker, target);
    if (layout.version() < firstVersionWithChapters || (before.empty() && now.empty()))
        return edit;
    if (before.empty() && now.size() <= mostInList)
        edit.appended += firstList(maker, now);
    for (const Place& place : before)
        edit.replacements[place.frame] = QByteArray();
    for (const Place& place : now) {
        Id3Chapter chapter = place.chapter;
        const auto was = std::find_if(before.begin(), before.end(),
                                      [&place](const Place& each) { return each.frame == place.frame; });
        const bool isSame = was != before.end() && was->chapter == chapter;
        if (isSame && !target.isEncodedAnew) {
            edit.replacements.erase(place.frame);
            continue;
        }
        chapter.offsets.fill('\xFF');
        if (place.frame == noFrame)
            edit.appended += maker.data("CHAP", chapter.payload(), nullptr);
        else
            edit.replacements[place.frame] =
                maker.data("CHAP", chapter.payload(), &layout.frames()[place.frame]);
    }
    editLists(layout, maker, before, now, edit);
    return edit;
}

} // namespace velloria::Id3Chapters
