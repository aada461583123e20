#include "Classes/CoreAudio/VLRTAudioPlayerCore.h"

#include "platform/Log.h"

#include <QCoreApplication>
#include <algorithm>

namespace velloria
{

namespace
{

constexpr uint32_t kMaxFramesPerSlice = 4096;
constexpr std::chrono::milliseconds kServiceInterval(5);

QString queueLabel(const char* name)
{
    return QCoreApplication::applicationName() + QStringLiteral(".PlaybackRingBuffer.") +
           QString::fromLatin1(name);
}

void sayError(const char* call, const Error& error)
{
    printLine(QStringLiteral("Velloria: %1 error: %2").arg(QString::fromLatin1(call), error.message));
}

} // namespace

VLRTAudioPlayerCore::VLRTAudioPlayerCore(const Settings& settings, PlayerCoreDelegate* delegate)
    : mSettings(settings)
    , mDelegate(delegate)
    , mFeed(settings.sampleRate > 0.0 ? settings.numFramesInRing : 1, kMaxFramesPerSlice)
    , mLeftChannel(settings.leftChannel)
    , mRightChannel(settings.rightChannel)
    , mFillQueue(queueLabel("fill"))
    , mConsumeQueue(queueLabel("consume"))
{
    if (settings.sampleRate > 0.0)
        openStream();
    else
        logLine(QStringLiteral("Sample rate was set to 0.0, which is invalid."));
}

VLRTAudioPlayerCore::~VLRTAudioPlayerCore()
{
    mTimer.reset();
    mStream.reset();
    mFillGroup->wait();
}

void VLRTAudioPlayerCore::openStream()
{
    // The chain must be there before the device can ask it; whether it has to convert is known afterwards.
    mSpeeds.inputRate = mSettings.sampleRate;
    const HardwareState state = AudioHardware::current().state();
    const HardwareDevice* const device = state.deviceWithID(mSettings.device);
    mSpeeds.outputRate = device && device->sampleRate > 0.0 ? device->sampleRate : mSettings.sampleRate;
    mChain = std::make_unique<PlaybackChain>(mFeed, mSpeeds);
    const AudioHardware::StreamRequest request = {mSettings.device, mSettings.streamName,
                                                  [this](StopReason reason) { streamDidStop(reason); }};
    mStream = AudioHardware::current().openOutput(request, *mChain, &mOpenError);
    if (!mStream)
        return;
    printLine(QStringLiteral("VLRTAudioPlayerCore: input=%1Hz, output=%2")
                  .arg(mSettings.sampleRate, 0, 'f', 0)
                  .arg(mStream->sampleRate(), 0, 'f', 0));
    if (mStream->sampleRate() != mSpeeds.outputRate) {
        mSpeeds.outputRate = mStream->sampleRate();
        mChain->setSpeeds(mSpeeds);
    }
    applyChannelMap();
}

void VLRTAudioPlayerCore::setChannels(int32_t left, int32_t right)
{
    mLeftChannel = left;
    mRightChannel = right;
    applyChannelMap();
}

void VLRTAudioPlayerCore::applyChannelMap()
{
    if (!mStream)
        return;
    const auto numChannels = static_cast<int32_t>(mStream->numChannels());
    const auto isThere = [numChannels](int32_t channel) { return channel >= 0 && channel < numChannels; };
    const int32_t left = isThere(mLeftChannel) ? mLeftChannel : 0;
    const int32_t right = isThere(mRightChannel) ? mRightChannel : 1;
    std::vector<int32_t> map(static_cast<size_t>(numChannels), -1);
    for (int32_t channel = 0; channel < numChannels; ++channel)
        map[static_cast<size_t>(channel)] = channel == left ? 0 : channel == right ? 1 : -1;
    mStream->setChannelMap(map);
}

void VLRTAudioPlayerCore::setPlaybackRate(double tempo)
{
    mSpeeds.tempo = tempo;
    if (mChain)
        mChain->setSpeeds(mSpeeds);
}

void VLRTAudioPlayerCore::setVarispeedRate(double speed)
{
    mSpeeds.varispeed = speed;
    if (mChain)
        mChain->setSpeeds(mSpeeds);
}

MaybeError VLRTAudioPlayerCore::start()
{
    if (!mStream) {
        const Error error =
            mOpenError.value_or(Error{Error::Code::failed, QStringLiteral("There is no device to play on.")});
        sayError("AudioUnitSetProperty(kAudioOutputUnitProperty_CurrentDevice)", error);
        return error;
    }
    mFillQueue.sync([this] { fill(); });
    mFeed.running = true;
    if (MaybeError error = mStream->start()) {
        mFeed.running = false;
        sayError("AUGraphStart()", *error);
        return error;
    }
    mTimer = std::make_unique<PeriodicTimer>(kServiceInterval, [this] { service(); });
    return std::nullopt;
}

void VLRTAudioPlayerCore::stop()
{
    mFeed.running = false;
    if (mStream)
        mStream->stop(StopMode::atOnce);
}

void VLRTAudioPlayerCore::stopAtEnd()
{
    // The source may have got new frames meanwhile: a loop was switched on, or the cue was moved.
    if (!isRunning() || !mFeed.sourceExhausted.load() || mFeed.ring.framesAvailableToConsume() > 0)
        return;
    mFeed.running = false;
    mStream->stop(StopMode::drain);
}

void VLRTAudioPlayerCore::streamDidStop(StopReason reason)
{
    // Started anew since then.
    if (isRunning() && reason == StopReason::requested)
        return;
    mFeed.running = false;
    mTimer.reset();
    mFillGroup->wait();
    if (mDelegate)
        mDelegate->audioPlaybackDidStop(reason);
}

/// Frames of the document between the ring and the ear.
int64_t VLRTAudioPlayerCore::numFramesAhead() const
{
    const double framesPerDeviceFrame =
        mStream && mStream->sampleRate() > 0.0
            ? mSpeeds.inputRate / mStream->sampleRate() * mSpeeds.tempo * mSpeeds.varispeed
            : 1.0;
    const int64_t inDevice =
        mStream ? static_cast<int64_t>(static_cast<double>(mStream->latencyFrames()) * framesPerDeviceFrame)
                : 0;
    return (mChain ? mChain->numFramesAhead() : 0) + inDevice;
}

bool VLRTAudioPlayerCore::isMoveUnheard() const
{
    return mFeed.numConsumed.load() - numFramesAhead() <= mMovedAt;
}

int64_t VLRTAudioPlayerCore::timestamp() const
{
    const int64_t stamp = mFeed.ring.currentTimestamp();
    if (stamp < 0)
        return stamp;
    const int64_t numAhead = numFramesAhead();
    // Half a slot: what is heard lies somewhere in the slot whose stamp was taken.
    if (numAhead == 0)
        return stamp + kFillFrames / 2;
    const int64_t heard = std::max<int64_t>(0, mFeed.numConsumed.load() - numAhead);
    return mHistory.documentFrameAt(heard).value_or(std::max<int64_t>(0, stamp - numAhead));
}

bool VLRTAudioPlayerCore::appendFrames(const float* pairs, int32_t numFrames) noexcept
{
    if (mFeed.ring.framesAvailableToAppend() < numFrames)
        return false;
    mFeed.ring.appendFloats(pairs, numFrames, 2, 0);
    return true;
}

} // namespace velloria
