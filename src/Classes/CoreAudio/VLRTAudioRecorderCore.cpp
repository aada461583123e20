#include "Classes/CoreAudio/VLRTAudioRecorderCore.h"

#include "Classes/CoreAudio/VLAudioObject.h"
#include "platform/Log.h"

#include <QCoreApplication>

namespace velloria
{

namespace
{

constexpr std::chrono::milliseconds kServiceInterval(5);

} // namespace

VLRTAudioRecorderCore::VLRTAudioRecorderCore(const InputUnit::Settings& settings, double outputSampleRate,
                                             RecorderCoreDelegate& delegate)
    : mDelegate(delegate)
    , mOutputSampleRate(outputSampleRate)
    , mRecordingQueue(QCoreApplication::applicationName() + QStringLiteral(".RecordingRingBuffer"))
    , mHardware(AudioHardware::current())
    , mUnit(settings, *this, [this](StopReason reason) { streamDidStop(reason); })
{
    mDeviceSampleRate = mUnit.sampleRate();
    mObserverToken = mHardware.addObserver([this](const HardwareChange& change) { deviceDidChange(change); });
}

VLRTAudioRecorderCore::~VLRTAudioRecorderCore()
{
    mHardware.removeObserver(mObserverToken);
    mTimer.reset();
    mRecordingGroup->wait();
}

MaybeError VLRTAudioRecorderCore::start()
{
    if (MaybeError error = mUnit.start())
        return error;
    mDeviceSampleRate = mUnit.sampleRate();
    mReasonToStop = StopReason::requested;
    mTimer = std::make_unique<PeriodicTimer>(kServiceInterval, [this] { service(); });
    return std::nullopt;
}

void VLRTAudioRecorderCore::stop()
{
    mUnit.stop();
}

uint64_t VLRTAudioRecorderCore::numLostBlocks() const
{
    return mNumRefused.load(std::memory_order_relaxed) + mUnit.numOverruns();
}

/// REALTIME.
void VLRTAudioRecorderCore::capture(const float* frames, uint32_t numFrames) noexcept
{
    const auto count = static_cast<int32_t>(numFrames);
    // Relaxed: a number to be shown, it guards nothing.
    if (mRing.framesAvailableToAppend() < count)
        mNumRefused.fetch_add(1, std::memory_order_relaxed);
    mRing.appendFloats(frames, count, 2);
}

/// What the device's thread would have done if it were allowed to. On the timer's thread.
void VLRTAudioRecorderCore::service()
{
    mRing.printPendingMessages();
    if (mRing.framesAvailableToConsume() < 1 || mIsDrainScheduled.exchange(true))
        return;
    mRecordingQueue.async(mRecordingGroup, [this] {
        mIsDrainScheduled = false;
        drain();
    });
}

/// On the recording queue.
void VLRTAudioRecorderCore::drain()
{
    const int32_t numHeld = mRing.framesAvailableToConsume();
    if (numHeld < 1)
        return;
    std::vector<float> pairs(2 * static_cast<size_t>(numHeld));
    mRing.consumeFloats(pairs.data(), numHeld);
    mDelegate.recordedBytes(std::move(pairs));
}

void VLRTAudioRecorderCore::deviceDidChange(const HardwareChange& change)
{
    if (change.objectID == mUnit.device() && change.selector == HardwareCode::kNominalSampleRate)
        streamFormatDidChange();
}

void VLRTAudioRecorderCore::streamFormatDidChange()
{
    if (!isRunning())
        return;
    printLine(QStringLiteral("VLRTAudioRecorderCore::streamFormatDidChange()"));
    const double rate = VLAudioObject(mUnit.device()).nominalSampleRate();
    if (rate == mDeviceSampleRate)
        return;
    mDeviceSampleRate = rate;
    mReasonToStop = StopReason::formatChanged;
    stop();
}

void VLRTAudioRecorderCore::finishRun()
{
    if (!mTimer)
        return;
    mTimer.reset();
    mRecordingGroup->wait();
    mRecordingQueue.sync([this] {
        drain();
        mRing.printPendingMessages();
        mDelegate.recordedAll();
    });
}

void VLRTAudioRecorderCore::streamDidStop(StopReason reason)
{
    // Started anew since then.
    if (isRunning())
        return;
    finishRun();
    mDelegate.recordingDidStop(reason == StopReason::requested ? mReasonToStop : reason);
}

} // namespace velloria
