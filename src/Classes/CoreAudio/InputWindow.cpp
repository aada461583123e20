#include "Classes/CoreAudio/InputWindow.h"

#include <algorithm>

namespace velloria
{

void InputWindow::pull(float* left, float* right, uint32_t numFrames) noexcept
{
    mStatus = mClient.render(left, right, numFrames);
    if (mStatus != 0) {
        std::fill_n(left, numFrames, 0.0F);
        std::fill_n(right, numFrames, 0.0F);
    }
    keep(left, right, numFrames);
    mHead += numFrames;
}

void InputWindow::keep(const float* left, const float* right, uint32_t numFrames) noexcept
{
    int64_t at = mHead;
    while (numFrames > 0) {
        const int64_t index = at % kNumFrames;
        const auto count = std::min<int64_t>(numFrames, kNumFrames - index);
        std::copy_n(left, count, mLeft.begin() + index);
        std::copy_n(right, count, mRight.begin() + index);
        left += count;
        right += count;
        at += count;
        numFrames -= static_cast<uint32_t>(count);
    }
}

void InputWindow::read(int64_t cursor, float* left, float* right, uint32_t numFrames) noexcept
{
    const int64_t oldest = std::max<int64_t>(0, mHead - kNumFrames);
    uint32_t done = 0;
    for (; done < numFrames && cursor < mHead; ++done, ++cursor) {
        const bool isKept = cursor >= oldest;
        const auto index = static_cast<size_t>(isKept ? cursor % kNumFrames : 0);
        left[done] = isKept ? mLeft[index] : 0.0F;
        right[done] = isKept ? mRight[index] : 0.0F;
    }
    if (done < numFrames)
        pull(left + done, right + done, numFrames - done);
}

} // namespace velloria
