#include "document/MarkerChanges.h"

#include <algorithm>

namespace velloria
{

void MarkerChanges::addDifference(const MarkerList& present, const MarkerList& next,
                                  MarkerDifference difference)
{
    if (next == mFirst) {
        while (!mChanges.empty() && std::holds_alternative<MarkerDifference>(mChanges.back()))
            mChanges.pop_back();
        mFirst = nullptr;
        return;
    }
    if (!mFirst)
        mFirst = present;
    mChanges.emplace_back(std::move(difference));
}

void MarkerChanges::addState(const std::vector<AudioMarkerPtr>& present, const AudioMarkerPtr& marker)
{
    const auto found = std::find(present.begin(), present.end(), marker);
    if (found == present.end())
        return;
    const auto index = static_cast<size_t>(found - present.begin());
    // Of several changes in a row only the state before the first one matters.
    for (auto change = mChanges.rbegin(); change != mChanges.rend(); ++change) {
        const auto* const state = std::get_if<MarkerState>(&*change);
        if (!state)
            break;
        if (state->index == index)
            return;
    }
    mFirst = nullptr;
    mChanges.emplace_back(MarkerState{index, marker->name(), marker->position()});
}

bool MarkerChanges::finish(const MarkerList& present)
{
    mFirst = nullptr;
    const auto isUnchanged = [&present](const Change& change) {
        const auto* const state = std::get_if<MarkerState>(&change);
        return state && state->name == (*present)[state->index]->name() &&
               state->position == (*present)[state->index]->position();
    };
    const auto isState = [](const Change& change) { return std::holds_alternative<MarkerState>(change); };
    // Indexes of states before a difference are those of another list.
    if (std::all_of(mChanges.begin(), mChanges.end(), isState))
        std::erase_if(mChanges, isUnchanged);
    mChanges.shrink_to_fit();
    return !mChanges.empty();
}

void MarkerChanges::exchange(MarkerState& state, const std::vector<AudioMarkerPtr>& markers)
{
    AudioMarker& marker = *markers[state.index];
    const MarkerState other = {state.index, marker.name(), marker.position()};
    marker.setName(state.name);
    marker.setPosition(state.position);
    state = other;
}

MarkerList MarkerChanges::undone(MarkerList present)
{
    for (auto change = mChanges.rbegin(); change != mChanges.rend(); ++change) {
        if (auto* const state = std::get_if<MarkerState>(&*change))
            exchange(*state, *present);
        else
            present = std::get<MarkerDifference>(*change).before(*present);
    }
    return present;
}

MarkerList MarkerChanges::redone(MarkerList present)
{
    for (Change& change : mChanges) {
        if (auto* const state = std::get_if<MarkerState>(&change))
            exchange(*state, *present);
        else
            present = std::get<MarkerDifference>(change).after(*present);
    }
    return present;
}

} // namespace velloria
