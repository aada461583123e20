#include "platform/codec/SoundStretcher.h"

#include "platform/codec/RubberBandLibrary.h"

#include <algorithm>
#include <cmath>
#include <utility>

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

int formantOption(const StretchSettings& settings)
{
    return settings.keepsFormants ? RubberBandOptionFormantPreserved : RubberBandOptionFormantShifted;
}

} // namespace

// A stretcher exists only where every function was found, which the analyser cannot see.
// NOLINTBEGIN(clang-analyzer-core.CallAndMessage)
void SoundStretcher::Deleter::operator()(RubberBandState_* state) const
{
    library().rubberband_delete(state);
}

SoundStretcher::SoundStretcher(double sampleRate, size_t numChannels, const StretchSettings& settings,
                               bool isStream)
    : mNumChannels(numChannels)
{
    const int options = RubberBandOptionEngineFiner | RubberBandOptionThreadingNever |
                        RubberBandOptionChannelsTogether | RubberBandOptionPitchHighQuality |
                        formantOption(settings) |
                        (isStream ? RubberBandOptionProcessRealTime : RubberBandOptionProcessOffline);
    mState.reset(library().rubberband_new(static_cast<unsigned>(std::lround(sampleRate)),
                                          static_cast<unsigned>(numChannels), options, settings.timeRatio,
                                          settings.pitchScale));
    library().rubberband_set_max_process_size(mState.get(), kMostPutFrames);
}

std::unique_ptr<SoundStretcher> SoundStretcher::create(double sampleRate, size_t numChannels,
                                                       const StretchSettings& settings, bool isStream)
{
    if (!RubberBandLibrary::get())
        return nullptr;
    return std::unique_ptr<SoundStretcher>(new SoundStretcher(sampleRate, numChannels, settings, isStream));
}

std::unique_ptr<SoundStretcher> SoundStretcher::forWhole(double sampleRate, size_t numChannels,
                                                         const StretchSettings& settings)
{
    return create(sampleRate, numChannels, settings, false);
}

std::unique_ptr<SoundStretcher> SoundStretcher::forStream(double sampleRate, size_t numChannels,
                                                          const StretchSettings& settings)
{
    std::unique_ptr<SoundStretcher> stretcher = create(sampleRate, numChannels, settings, true);
    if (!stretcher)
        return nullptr;
    const size_t pad = library().rubberband_get_preferred_start_pad(stretcher->mState.get());
    stretcher->mNumToDrop = library().rubberband_get_start_delay(stretcher->mState.get());
    const std::vector<float> silence(kMostPutFrames);
    for (size_t left = pad; left > 0;) {
        const size_t count = std::min(left, silence.size());
        stretcher->put(std::vector<Channel>(numChannels, Channel(silence).first(count)));
        left -= count;
    }
    return stretcher;
}

void SoundStretcher::setSettings(const StretchSettings& settings)
{
    library().rubberband_set_time_ratio(mState.get(), settings.timeRatio);
    library().rubberband_set_pitch_scale(mState.get(), settings.pitchScale);
    library().rubberband_set_formant_option(mState.get(), formantOption(settings));
}

size_t SoundStretcher::numFramesWanted() const
{
    return std::clamp<size_t>(library().rubberband_get_samples_required(mState.get()), 1, kMostPutFrames);
}

void SoundStretcher::put(const std::vector<Channel>& channels)
{
    std::vector<const float*> starts;
    starts.reserve(channels.size());
    for (const Channel& channel : channels)
        starts.push_back(channel.data());
    // Told that the sound ends, the library would put out all the rest at once, and lose what is more than
    // its buffer holds.
    library().rubberband_process(mState.get(), starts.data(), static_cast<unsigned>(channels.front().size()),
                                 0);
    dropDelay();
}

/// What a stream gives before its first frame.
void SoundStretcher::dropDelay()
{
    std::vector<std::vector<float>> dropped(mNumChannels);
    while (mNumToDrop > 0 && library().rubberband_available(mState.get()) > 0) {
        const size_t most = std::exchange(mNumToDrop, 0);
        take(dropped, most);
        mNumToDrop = most - dropped.front().size();
        for (std::vector<float>& channel : dropped)
            channel.clear();
    }
}

size_t SoundStretcher::numFramesReady() const
{
    return static_cast<size_t>(std::max(0, library().rubberband_available(mState.get())));
}

void SoundStretcher::take(std::vector<std::vector<float>>& channels, size_t mostFrames)
{
    const size_t count = std::min(mostFrames, numFramesReady());
    const size_t before = channels.front().size();
    std::vector<float*> ends;
    for (std::vector<float>& channel : channels) {
        channel.resize(before + count);
        ends.push_back(channel.data() + before);
    }
    const size_t numTaken =
        library().rubberband_retrieve(mState.get(), ends.data(), static_cast<unsigned>(count));
    for (std::vector<float>& channel : channels)
        channel.resize(before + numTaken);
}

// NOLINTEND(clang-analyzer-core.CallAndMessage)

} // namespace velloria
