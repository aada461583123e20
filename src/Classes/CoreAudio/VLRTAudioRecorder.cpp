#include "Classes/CoreAudio/VLRTAudioRecorder.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "platform/UserDefaults.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t kFlushFrames = 4096;

} // namespace

VLRTAudioRecorder::VLRTAudioRecorder(double outputSampleRate, const QString& streamName)
    : mConfigurationToken(
          NotificationCenter::standard().addObserver(AudioNotification::inputConfigurationDidChange(),
                                                     [this](const void*) { configurationDidChange(); }))
    , mChannelsToken(NotificationCenter::standard().addObserver(AudioNotification::inputChannelsDidChange(),
                                                                [this](const void*) { channelsDidChange(); }))
    , mCore(InputUnit::settingsFromPreferences(streamName), outputSampleRate, *this)
{
}

VLRTAudioRecorder::~VLRTAudioRecorder()
{
    NotificationCenter::standard().removeObserver(mConfigurationToken);
    NotificationCenter::standard().removeObserver(mChannelsToken);
}

/// A new one for each run: after its end it holds nothing of the run before.
MaybeError VLRTAudioRecorder::makeConverter()
{
    mSampleRateConverterInputData.clear();
    mSampleRateConverter.reset();
    const double deviceRate = mCore.deviceSampleRate();
    if (deviceRate == mCore.outputSampleRate() || !(deviceRate > 0.0))
        return std::nullopt;
    MaybeError error;
    mSampleRateConverter = AudioConverterWrapper::withInputFormat(
        StreamDescription::descriptionWithSampleRate(deviceRate, 2),
        StreamDescription::descriptionWithSampleRate(mCore.outputSampleRate(), 2), &error);
    if (!mSampleRateConverter)
        return error;
    mSampleRateConverter->setDataSource(this);
    mSampleRateConverter->setDataSourceMayPause(true);
    return std::nullopt;
}

MaybeError VLRTAudioRecorder::start()
{
    if (isRunning())
        return std::nullopt;
    mCore.finishRun();
    if (MaybeError error = makeConverter())
        return error;
    mStopReason = StopReason::requested;
    return mCore.start();
}

void VLRTAudioRecorder::recordedBytes(std::vector<float> pairs)
{
    if (!mSampleRateConverter) {
        deliver(std::move(pairs));
        return;
    }
    std::vector<float>& waiting = mSampleRateConverterInputData;
    waiting.insert(waiting.end(), pairs.begin(), pairs.end());
    const size_t numFramesWaiting = waiting.size() / 2;
    const auto numWaiting = static_cast<double>(numFramesWaiting);
    const double deviceRate = mSampleRateConverter->inputFormat().sampleRate();
    const auto numPackets = static_cast<int64_t>(mCore.outputSampleRate() * numWaiting / deviceRate);
    deliver(mSampleRateConverter->convertedFloatsWithNumPackets(numPackets));
}

void VLRTAudioRecorder::recordedAll()
{
    if (!mSampleRateConverter)
        return;
    mSampleRateConverter->setDataSourceMayPause(false);
    while (true) {
        std::vector<float> pairs = mSampleRateConverter->convertedFloatsWithNumPackets(kFlushFrames);
        if (pairs.empty())
            return;
        deliver(std::move(pairs));
    }
}

std::vector<float> VLRTAudioRecorder::interleavedDataForAudioConverter(AudioConverterWrapper&,
                                                                       int64_t numberOfPackets)
{
    std::vector<float>& waiting = mSampleRateConverterInputData;
    const auto count = std::min(waiting.size(), 2 * static_cast<size_t>(numberOfPackets));
    const auto end = waiting.begin() + static_cast<ptrdiff_t>(count);
    std::vector<float> taken(waiting.begin(), end);
    waiting.erase(waiting.begin(), end);
    return taken;
}

/// On the recording queue.
void VLRTAudioRecorder::deliver(std::vector<float> pairs)
{
    if (pairs.empty())
        return;
    postToMainThread([this, pairs = std::move(pairs), alive = std::weak_ptr(mIsAlive)] {
        if (alive.lock())
            notifyDelegateAboutRecordedData(pairs);
    });
}

void VLRTAudioRecorder::notifyDelegateAboutRecordedData(const std::vector<float>& pairs)
{
    const size_t numFrames = pairs.size() / 2;
    FloatBuffer left(numFrames);
    FloatBuffer right(numFrames);
    for (size_t i = 0; i < numFrames; ++i) {
        left[i] = pairs[2 * i];
        right[i] = pairs[2 * i + 1];
    }
    if (mDelegate && !mDelegate->audioRecording(*this, left, right))
        stop();
}

void VLRTAudioRecorder::recordingDidStop(StopReason reason)
{
    // Behind the frames that are on their way to the delegate.
    postToMainThread([this, reason, alive = std::weak_ptr(mIsAlive)] {
        if (!alive.lock() || isRunning())
            return;
        mStopReason = reason;
        if (mDelegate)
            mDelegate->audioRecordingDidStop(*this);
    });
}

/// Somebody chose other channels of the input.
void VLRTAudioRecorder::channelsDidChange()
{
    const InputUnit::Settings settings = InputUnit::settingsFromPreferences({});
    mCore.setChannels(settings.leftChannel, settings.rightChannel);
}

/// The channels of the output preferences, not of the input ones: so it has always been, and settings were
/// made to suit. Who chooses input channels goes by channelsDidChange().
void VLRTAudioRecorder::configurationDidChange()
{
    const UserDefaults& defaults = UserDefaults::standard();
    mCore.setChannels(defaults.integerValue(AudioPreference::outputLeftChannel()),
                      defaults.integerValue(AudioPreference::outputRightChannel()));
}

} // namespace velloria
