#pragma once

#include "platform/DispatchQueue.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velloria
{

/// Works on the sections of a file on several cores at once and hands them on in order, some ahead of the one
/// that is being taken. Each lane is a thread of its own and has every so manieth section. Used on one
/// thread.
class SectionRing
{
public:
    /// Fills the slot (and whatever memory belongs to it) with a section; called on the lane's thread.
    using Job = std::function<void(size_t lane, size_t slot, int64_t section)>;

    SectionRing(size_t numLanes, int64_t numSections, Job job);
    /// Waits for the jobs that have begun.
    ~SectionRing();

    /// Lanes that pay on this machine; 1 where there is nothing to be gained.
    static size_t numLanesWorthwhile();
    static size_t numSlots(size_t numLanes) { return 2 * numLanes; }

    /// The slot of the first or the next section, once it is filled; nothing behind the last one. The slot
    /// given before is filled anew from here on.
    std::optional<size_t> next();

private:
    void start(int64_t section);

    const int64_t mNumSections;
    const Job mJob;
    int64_t mNextSection = 0;
    std::atomic<bool> mIsStopping = false;
    /// One a slot.
    std::vector<std::shared_ptr<DispatchGroup>> mGroups;
    std::vector<std::unique_ptr<DispatchQueue>> mLanes;
};

} // namespace velloria
