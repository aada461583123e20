#include "Classes/CoreAudio/PlaybackStages.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

// So many frames from before the place where it begins give the converter's filter its past.
constexpr int64_t kConverterPad = 256;
constexpr double kMaxPositionError = 4096.0;

} // namespace

bool PlaybackSpeeds::hasSameStagesAs(const PlaybackSpeeds& other) const
{
    const bool hasSameRates = inputRate == other.inputRate && outputRate == other.outputRate;
    const bool canFollow = varispeed == other.varispeed || (varispeed != 1.0 && other.varispeed != 1.0);
    return hasSameRates && canFollow && needsTempoStage() == other.needsTempoStage();
}

PlaybackStages::PlaybackStages(const PlaybackSpeeds& speeds)
    : mSpeeds(speeds)
    , mTempoWanted(speeds.tempo)
    , mVarispeedWanted(speeds.varispeed)
{
    if (speeds.needsTempoStage())
        mStretcher = TimeStretcher::create(speeds.inputRate, speeds.tempo);
    if (speeds.needsRateStage())
        mConverter = LiveRateConverter::create(speeds.inputRate, speeds.outputRate, speeds.varispeed);
}

void PlaybackStages::applySpeeds() noexcept
{
    const double tempo = mTempoWanted.load(std::memory_order_relaxed);
    if (mStretcher && tempo != mSpeeds.tempo)
        mStretcher->setTempo(tempo);
    const double varispeed = mVarispeedWanted.load(std::memory_order_relaxed);
    if (mConverter && varispeed != mSpeeds.varispeed)
        mConverter->setSpeed(varispeed);
    mSpeeds.tempo = tempo;
    mSpeeds.varispeed = varispeed;
}

void PlaybackStages::begin(InputWindow& window, int64_t position) noexcept
{
    mCursor = position;
    // Held back by the converter are frames of its own warming up.
    double numToDrop = 0.0;
    if (mConverter) {
        const double tempo = mStretcher ? mStretcher->tempo() : 1.0;
        numToDrop = (static_cast<double>(kConverterPad) + mConverter->numFramesHeld()) / mConverter->ratio();
        mCursor -= std::llround(static_cast<double>(kConverterPad) * tempo);
    }
    if (mStretcher) {
        mStretcherPad = mStretcher->startPad();
        mCursor -= mStretcherPad;
        uint32_t left = mStretcherPad;
        while (left > 0) {
            const uint32_t count = std::min(left, TimeStretcher::kMaxInputFrames);
            window.read(mCursor, mLeft.data(), mRight.data(), count);
            mStretcher->put(mLeft.data(), mRight.data(), count);
            mCursor += count;
            left -= count;
        }
        uint32_t delay = mStretcher->startDelay();
        while (delay > 0) {
            const uint32_t count = std::min(delay, kBlockFrames);
            readStretched(window, mBlockLeft.data(), mBlockRight.data(), count);
            delay -= count;
        }
    }
    drop(window, std::llround(numToDrop));
    mPosition = static_cast<double>(position);
}

void PlaybackStages::drop(InputWindow& window, int64_t numFrames) noexcept
{
    // The block buffers are in use by the conversion itself; nobody hears what goes here.
    float left[64];
    float right[64];
    while (numFrames > 0) {
        const auto count = static_cast<uint32_t>(std::min<int64_t>(numFrames, 64));
        renderConverted(window, left, right, count);
        numFrames -= count;
    }
}

void PlaybackStages::readStretched(InputWindow& window, float* left, float* right,
                                   uint32_t numFrames) noexcept
{
    if (!mStretcher) {
        window.read(mCursor, left, right, numFrames);
        mCursor += numFrames;
        return;
    }
    while (numFrames > 0) {
        const uint32_t numReady = std::min(mStretcher->numFramesReady(), numFrames);
        if (numReady == 0) {
            const uint32_t wanted = mStretcher->numFramesWanted();
            window.read(mCursor, mLeft.data(), mRight.data(), wanted);
            mStretcher->put(mLeft.data(), mRight.data(), wanted);
            mCursor += wanted;
            continue;
        }
        const uint32_t numTaken = mStretcher->take(left, right, numReady);
        left += numTaken;
        right += numTaken;
        numFrames -= numTaken;
    }
}

void PlaybackStages::refillConverter(InputWindow& window) noexcept
{
    // Small, so that little is read ahead of what is heard.
    constexpr uint32_t numFrames = 128;
    readStretched(window, mBlockLeft.data(), mBlockRight.data(), numFrames);
    for (size_t i = 0; i < numFrames; ++i) {
        mWaiting[2 * i] = mBlockLeft[i];
        mWaiting[2 * i + 1] = mBlockRight[i];
    }
    mWaitingStart = 0;
    mNumWaiting = numFrames;
}

void PlaybackStages::renderConverted(InputWindow& window, float* left, float* right,
                                     uint32_t numFrames) noexcept
{
    while (numFrames > 0) {
        if (mNumWaiting == 0)
            refillConverter(window);
        const LiveRateConverter::Step step =
            mConverter->convert(mWaiting.data() + 2 * size_t{mWaitingStart}, mNumWaiting, mConverted.data(),
                                std::min(numFrames, kBlockFrames));
        for (size_t i = 0; i < step.numMade; ++i) {
            left[i] = mConverted[2 * i];
            right[i] = mConverted[2 * i + 1];
        }
        mWaitingStart += step.numUsed;
        mNumWaiting -= step.numUsed;
        left += step.numMade;
        right += step.numMade;
        numFrames -= step.numMade;
    }
}

void PlaybackStages::render(InputWindow& window, float* left, float* right, uint32_t numFrames) noexcept
{
    applySpeeds();
    if (mConverter)
        renderConverted(window, left, right, numFrames);
    else
        readStretched(window, left, right, numFrames);
    advance(numFrames);
}

void PlaybackStages::advance(uint32_t numFrames) noexcept
{
    if (!mStretcher && !mConverter) {
        mPosition = static_cast<double>(mCursor);
        return;
    }
    const double tempo = mStretcher ? mStretcher->tempo() : 1.0;
    const double ratio = mConverter ? mConverter->ratio() : 1.0;
    mPosition += numFrames * ratio * tempo;
    // A change of tempo takes effect a little late, and rounding adds up over hours: what the stages hold
    // tells the place as well, not as finely but always.
    const double estimate = static_cast<double>(mCursor) - numFramesHeld();
    mPosition = std::clamp(mPosition, estimate - kMaxPositionError, estimate + kMaxPositionError);
}

double PlaybackStages::numFramesHeld() const noexcept
{
    double numHeld = 0.0;
    if (mConverter)
        numHeld += mConverter->numFramesHeld() + mNumWaiting;
    if (mStretcher)
        numHeld = (numHeld + mStretcher->numFramesReady()) * mStretcher->tempo() + mStretcherPad;
    return numHeld;
}

} // namespace velloria
