#include "platform/codec/TimeStretcher.h"

#include "platform/codec/RubberBandLibrary.h"

#include <algorithm>

namespace velloria
{

namespace
{

/// Where there is a stretcher, there is the library.
const RubberBandLibrary& library()
{
    static const RubberBandLibrary& theLibrary = *RubberBandLibrary::get();
    return theLibrary;
}

double clampedTempo(double tempo)
{
    return std::clamp(tempo, TimeStretcher::kSlowest, TimeStretcher::kFastest);
}

} // namespace

// A stretcher exists only where every function was found, which the analyser cannot see.
// NOLINTBEGIN(clang-analyzer-core.CallAndMessage)
void TimeStretcher::Deleter::operator()(RubberBandState_* state) const
{
    library().rubberband_delete(state);
}

TimeStretcher::TimeStretcher(double sampleRate, double tempo)
    : mTempo(clampedTempo(tempo))
{
    // The finer engine with the short window keeps the pitch exactly, and its slowest blocks take 10 % of
    // their time; with the standard window they take 25 %. The faster engine is no cheaper and is up to 16
    // cents off.
    constexpr int options = RubberBandOptionProcessRealTime | RubberBandOptionEngineFiner |
                            RubberBandOptionWindowShort | RubberBandOptionThreadingNever |
                            RubberBandOptionChannelsTogether;
    // Its buffers are made for the tempo that needs the largest, so that no change of tempo enlarges them.
    mState.reset(
        library().rubberband_new(static_cast<unsigned>(sampleRate), 2, options, 1.0 / kSlowest, 1.0));
    library().rubberband_set_max_process_size(mState.get(), kMaxInputFrames);
    library().rubberband_set_time_ratio(mState.get(), 1.0 / mTempo);
}

std::unique_ptr<TimeStretcher> TimeStretcher::create(double sampleRate, double tempo)
{
    return RubberBandLibrary::get() ? std::unique_ptr<TimeStretcher>(new TimeStretcher(sampleRate, tempo))
                                    : nullptr;
}

void TimeStretcher::setTempo(double tempo)
{
    mTempo = clampedTempo(tempo);
    library().rubberband_set_time_ratio(mState.get(), 1.0 / mTempo);
}

uint32_t TimeStretcher::startPad() const
{
    return library().rubberband_get_preferred_start_pad(mState.get());
}

uint32_t TimeStretcher::startDelay() const
{
    return library().rubberband_get_start_delay(mState.get());
}

uint32_t TimeStretcher::numFramesWanted() const
{
    const uint32_t wanted = library().rubberband_get_samples_required(mState.get());
    return std::clamp(wanted, 1U, kMaxInputFrames);
}

void TimeStretcher::put(const float* left, const float* right, uint32_t numFrames)
{
    const float* const channels[] = {left, right};
    library().rubberband_process(mState.get(), channels, numFrames, 0);
}

uint32_t TimeStretcher::numFramesReady() const
{
    return static_cast<uint32_t>(std::max(0, library().rubberband_available(mState.get())));
}

uint32_t TimeStretcher::take(float* left, float* right, uint32_t numFrames)
{
    float* const channels[] = {left, right};
    return library().rubberband_retrieve(mState.get(), channels, numFrames);
}

// NOLINTEND(clang-analyzer-core.CallAndMessage)

} // namespace velloria
