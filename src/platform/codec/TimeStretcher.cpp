#include "platform/codec/TimeStretcher.h"

#include "platform/Log.h"

#include <algorithm>
#include <dlfcn.h>
#include <rubberband/rubberband-c.h>

#define VELLORIA_RUBBERBAND_FUNCTIONS(F)                                                                     \
    F(rubberband_available)                                                                                  \
    F(rubberband_delete)                                                                                     \
    F(rubberband_get_preferred_start_pad)                                                                    \
    F(rubberband_get_samples_required)                                                                       \
    F(rubberband_get_start_delay)                                                                            \
    F(rubberband_new)                                                                                        \
    F(rubberband_process)                                                                                    \
    F(rubberband_retrieve)                                                                                   \
    F(rubberband_set_max_process_size)                                                                       \
    F(rubberband_set_time_ratio)

namespace velloria
{

namespace
{

struct RubberBandLibrary {
// A name that is being declared cannot stand in parentheses. NOLINTNEXTLINE(bugprone-macro-parentheses)
#define VELLORIA_DECLARE(function) decltype(&::function) function = nullptr;
    VELLORIA_RUBBERBAND_FUNCTIONS(VELLORIA_DECLARE)
#undef VELLORIA_DECLARE
    bool isUsable = open();

private:
    template <typename Function> static bool find(void* library, const char* name, Function& function)
    {
        function = reinterpret_cast<Function>(::dlsym(library, name));
        return function != nullptr;
    }

    bool open()
    {
        void* const library = ::dlopen("librubberband.so.2", RTLD_NOW | RTLD_LOCAL);
        if (!library)
            return false;
        bool isComplete = true;
#define VELLORIA_FIND(name) isComplete &= find(library, #name, name);
        VELLORIA_RUBBERBAND_FUNCTIONS(VELLORIA_FIND)
#undef VELLORIA_FIND
        return isComplete;
    }
};

const RubberBandLibrary& library()
{
    static const RubberBandLibrary theLibrary;
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
    if (library().isUsable)
        return std::unique_ptr<TimeStretcher>(new TimeStretcher(sampleRate, tempo));
    logLine(QStringLiteral("The library Rubber Band, which other speeds need, cannot be loaded."));
    return nullptr;
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
