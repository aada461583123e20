#pragma once

#include "platform/Progress.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

/// A step of a long operation as an operation of its own: what it makes of its target moves the whole one by
/// so many marks.
class PartProgress : public Progress
{
public:
    PartProgress(Progress& whole, int64_t numMarks)
        : mWhole(whole)
        , mFirstMark(whole.markValue())
        , mNumMarks(numMarks)
    {
        setTargetValue(std::max<int64_t>(1, numMarks));
    }
    void setProgressValue(double value) override
    {
        const double part = std::clamp(value, 0.0, 1.0) * static_cast<double>(mNumMarks);
        mWhole.setMarkValue(mFirstMark + std::llround(part));
    }
    bool isCancelled() const override { return mWhole.isCancelled(); }

private:
    Progress& mWhole;
    const int64_t mFirstMark;
    const int64_t mNumMarks;
};

} // namespace velloria
