#include "Classes/CoreAudio/PlaybackChain.h"

#include <algorithm>

namespace velloria
{

PlaybackChain::PlaybackChain(PlaybackFeed& source, const PlaybackSpeeds& speeds)
    : mSource(source)
    , mWindow(source)
    , mSpeeds(speeds)
    , mLatest(new PlaybackStages(speeds))
    , mNext(mLatest)
{
}

PlaybackChain::~PlaybackChain()
{
    // The device stands still by now.
    delete mNext.load();
    delete mRetired.load();
    delete mCurrent;
    delete mFading;
}

void PlaybackChain::setSpeeds(const PlaybackSpeeds& speeds)
{
    tidy();
    const bool canFollow = mSpeeds.hasSameStagesAs(speeds);
    mSpeeds = speeds;
    if (canFollow) {
        mLatest->setTempo(speeds.tempo);
        mLatest->setVarispeed(speeds.varispeed);
        return;
    }
    mLatest = new PlaybackStages(speeds);
    // Release: the device's thread sees the finished object. What it did not fetch yet is out of date.
    delete mNext.exchange(mLatest, std::memory_order_acq_rel);
}

void PlaybackChain::tidy()
{
    delete mRetired.exchange(nullptr, std::memory_order_acq_rel);
}

void PlaybackChain::adoptNext() noexcept
{
    // One change at a time, and only when there is room to hand back what it replaces.
    if (mFading || mRetired.load(std::memory_order_acquire) || !mNext.load(std::memory_order_relaxed))
        return;
    PlaybackStages* const next = mNext.exchange(nullptr, std::memory_order_acq_rel);
    if (!next)
        return;
    next->begin(mWindow, mCurrent ? mCurrent->position() : 0);
    mFading = mCurrent;
    mCurrent = next;
    mNumFaded = 0;
}

void PlaybackChain::renderFading(float* left, float* right, uint32_t numFrames) noexcept
{
    mFading->render(mWindow, mFadeLeft.data(), mFadeRight.data(), numFrames);
    for (uint32_t i = 0; i < numFrames; ++i) {
        const float share = static_cast<float>(mNumFaded + i) / static_cast<float>(kFadeFrames);
        left[i] = left[i] * share + mFadeLeft[i] * (1.0F - share);
        right[i] = right[i] * share + mFadeRight[i] * (1.0F - share);
    }
    mNumFaded += numFrames;
    if (mNumFaded == kFadeFrames)
        mRetired.store(std::exchange(mFading, nullptr), std::memory_order_release);
}

int32_t PlaybackChain::render(float* left, float* right, uint32_t numFrames) noexcept
{
    adoptNext();
    mCurrent->render(mWindow, left, right, numFrames);
    if (mFading)
        renderFading(left, right, std::min(numFrames, kFadeFrames - mNumFaded));
    return mWindow.status();
}

void PlaybackChain::didRender(double heardFrom, double heardUntil) noexcept
{
    if (mCurrent)
        mSource.noteRequest(mWindow.head() - mCurrent->position(), heardFrom, heardUntil);
}

} // namespace velloria
