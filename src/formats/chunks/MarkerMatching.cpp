#include "formats/chunks/MarkerMatching.h"

#include <map>
#include <optional>
#include <tuple>

namespace velloria
{

MarkerMatching::MarkerMatching(std::span<const AudioMarker> stored, std::span<const AudioMarkerPtr> now)
    : mStored(stored)
    , mNow(now)
    , mMatches(stored.size(), none)
    , mIsTaken(now.size())
{
    using Number = std::optional<int32_t>;
    const auto numberOf = [](const AudioMarker& marker) {
        return marker.ident() == 0 ? Number() : Number(marker.ident());
    };
    match([](const AudioMarker& marker) {
        return std::optional(std::tuple(marker.ident(), marker.position(), marker.name()));
    });
    match(
        [](const AudioMarker& marker) { return std::optional(std::pair(marker.position(), marker.name())); });
    match([](const AudioMarker& marker) { return std::optional(std::pair(marker.ident(), marker.name())); });
    match(numberOf);
    // Of those that got their entry by a save, and were renamed since.
    match([&](const AudioMarker& marker) {
        return numberOf(marker) ? std::nullopt : std::optional(marker.position());
    });
}

/// Gives each stored marker that is still without one the first free marker of the same key.
template <typename KeyOf> void MarkerMatching::match(KeyOf keyOf)
{
    using Key = typename std::invoke_result_t<KeyOf, const AudioMarker&>::value_type;
    std::map<Key, std::vector<size_t>> free;
    for (size_t i = mNow.size(); i-- > 0;) {
        const auto key = mIsTaken[i] ? std::nullopt : keyOf(*mNow[i]);
        if (key)
            free[*key].push_back(i);
    }
    if (free.empty())
        return;
    for (size_t i = 0; i < mStored.size(); ++i) {
        const auto key = mMatches[i] == none ? keyOf(mStored[i]) : std::nullopt;
        const auto found = key ? free.find(*key) : free.end();
        if (found == free.end() || found->second.empty())
            continue;
        mMatches[i] = found->second.back();
        mIsTaken[mMatches[i]] = true;
        found->second.pop_back();
    }
}

const AudioMarker* MarkerMatching::markerOf(size_t stored) const
{
    return mMatches[stored] == none ? nullptr : mNow[mMatches[stored]].get();
}

std::vector<AudioMarkerPtr> MarkerMatching::added() const
{
    std::vector<AudioMarkerPtr> added;
    for (size_t i = 0; i < mNow.size(); ++i) {
        if (!mIsTaken[i])
            added.push_back(mNow[i]);
    }
    return added;
}

} // namespace velloria
