#include "document/MarkerChanges.h"

#include <algorithm>

namespace velloria
{

void MarkerChanges::addDifference(const MarkerList& present, const MarkerList& next,
                                  MarkerDifference difference)
{
    if (next == mFirst) {
        mChanges.erase(mChanges.begin() + mFirstDifference, mChanges.end());
        mFirst = nullptr;
        return;
    }
    if (!mFirst) {
        mFirst = present;
        mFirstDifference = std::ssize(mChanges);
    }
    mChanges.emplace_back(std::move(difference));
}

void MarkerChanges::addSplice(MarkerDifference difference)
{
    // Whoever comes back to a list from before comes back to one that was left behind, not to this one.
    mFirst = nullptr;
    mChanges.emplace_back(std::move(difference));
}

void MarkerChanges::addState(int64_t index, const AudioMarker& marker)
{
    // Of several changes in a row only the state before the first one matters.
    for (auto change = mChanges.rbegin(); change != mChanges.rend(); ++change) {
        const auto* const state = std::get_if<MarkerState>(&*change);
        if (!state)
            break;
        if (state->index == index)
            return;
    }
    mFirst = nullptr;
    mChanges.emplace_back(MarkerState{index, marker.name(), marker.position()});
}

bool MarkerChanges::finish(const InstalledMarkers& present)
{
    mFirst = nullptr;
    const auto isUnchanged = [&present](const Change& change) {
        const auto& state = std::get<MarkerState>(change);
        const AudioMarker& marker = *present.at(state.index);
        return state.name == marker.name() && state.position == marker.position();
    };
    const auto isState = [](const Change& change) { return std::holds_alternative<MarkerState>(change); };
    // Indexes of states before a difference are those of another list.
    if (std::all_of(mChanges.begin(), mChanges.end(), isState))
        std::erase_if(mChanges, isUnchanged);
    mChanges.shrink_to_fit();
    return !mChanges.empty();
}

void MarkerChanges::exchange(MarkerState& state, InstalledMarkers& markers)
{
    const AudioMarkerPtr marker = markers.at(state.index);
    const MarkerState other = {state.index, marker->name(), marker->position()};
    marker->setName(state.name);
    markers.setPosition(marker, state.position);
    state = other;
}

void MarkerChanges::undo(InstalledMarkers& markers)
{
    for (auto change = mChanges.rbegin(); change != mChanges.rend(); ++change) {
        if (auto* const state = std::get_if<MarkerState>(&*change))
            exchange(*state, markers);
        else
            std::get<MarkerDifference>(*change).undo(markers);
    }
}

void MarkerChanges::redo(InstalledMarkers& markers)
{
    for (Change& change : mChanges) {
        if (auto* const state = std::get_if<MarkerState>(&change))
            exchange(*state, markers);
        else
            std::get<MarkerDifference>(change).redo(markers);
    }
}

} // namespace velloria
