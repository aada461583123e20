#pragma once

#include "effects/frame/Filter.h"

namespace velloria
{

/// An effect as the input of a mixer. Does not keep the effect alive.
class FilterSource : public DataSource
{
public:
    explicit FilterSource(Filter& filter)
        : mFilter(filter)
    {
    }

    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override
    {
        return mFilter.requestDataWithNumFrames(numFrames, block);
    }

private:
    Filter& mFilter;
};

} // namespace velloria
