#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace velloria
{

/// A delay line: a ring in which each new value takes the place of the oldest one. An empty one gives zeros
/// and keeps nothing.
class CircularBuffer
{
public:
    /// Of zeros; fewer than none are none.
    explicit CircularBuffer(int32_t numFrames);

    void putFloatValue(float value)
    {
        if (mData.empty())
            return;
        mData[static_cast<size_t>(mMark)] = value;
        advance(1);
    }
    /// The oldest value: the one that was put in numFrames() values ago.
    float getFloatValue() const { return mData.empty() ? 0.0F : mData[static_cast<size_t>(mMark)]; }
    /// The newest value.
    float getPreviousFloatValue() const;

    /// The slot that is written next. Beyond the ring counts as 0.
    void setMark(int32_t mark);
    int32_t mark() const { return mMark; }
    /// Another size empties the line; the same changes nothing.
    void setNumFrames(int32_t numFrames);
    int32_t numFrames() const { return static_cast<int32_t>(mData.size()); }

    /// The oldest values in their order, at most so many and up to the ring's end: who writes new ones in
    /// their places puts them in once advance() has passed them.
    std::span<float> run(size_t most);
    void advance(size_t numPassed)
    {
        mMark += static_cast<int32_t>(numPassed);
        if (mMark >= numFrames())
            mMark = 0;
    }

protected:
    const std::vector<float>& data() const { return mData; }

private:
    std::vector<float> mData;
    int32_t mMark = 0; ///< below numFrames(), or 0
};

} // namespace velloria
