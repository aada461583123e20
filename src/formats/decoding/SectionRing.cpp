#include "formats/decoding/SectionRing.h"

#include <QThread>
#include <algorithm>

namespace velloria
{

namespace
{

// More would hold more memory than they gain.
constexpr int mostLanes = 4;

} // namespace

SectionRing::SectionRing(size_t numLanes, int64_t numSections, Job job)
    : mNumSections(numSections)
    , mJob(std::move(job))
{
    for (size_t lane = 0; lane < numLanes; ++lane)
        mLanes.push_back(std::make_unique<DispatchQueue>(QStringLiteral("SectionRing.lane")));
    for (size_t slot = 0; slot < numSlots(numLanes); ++slot) {
        mGroups.push_back(std::make_shared<DispatchGroup>());
        start(static_cast<int64_t>(slot));
    }
}

SectionRing::~SectionRing()
{
    mIsStopping.store(true, std::memory_order_relaxed);
}

size_t SectionRing::numLanesWorthwhile()
{
    return static_cast<size_t>(std::clamp(QThread::idealThreadCount(), 1, mostLanes));
}

void SectionRing::start(int64_t section)
{
    if (section >= mNumSections)
        return;
    const size_t slot = static_cast<size_t>(section) % mGroups.size();
    const size_t lane = static_cast<size_t>(section) % mLanes.size();
    mLanes[lane]->async(mGroups[slot], [this, lane, slot, section] {
        // Relaxed: it only saves work, and a job that misses it does no harm.
        if (!mIsStopping.load(std::memory_order_relaxed))
            mJob(lane, slot, section);
    });
}

std::optional<size_t> SectionRing::next()
{
    if (mNextSection > 0)
        start(mNextSection - 1 + static_cast<int64_t>(mGroups.size()));
    if (mNextSection >= mNumSections)
        return std::nullopt;
    const size_t slot = static_cast<size_t>(mNextSection++) % mGroups.size();
    mGroups[slot]->wait();
    return slot;
}

} // namespace velloria
