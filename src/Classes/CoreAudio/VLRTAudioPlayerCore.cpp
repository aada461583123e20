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
constexpr double kBriefLatencySeconds = 0.05;

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
    // No fill begins without the timer; one that is under way asks the stream how much it wants.
    mTimer.reset();
    mFillGroup->wait();
    mStream.reset();
}

void VLRTAudioPlayerCore::openStream()
{
    // The chain must be there before the device can ask it; whether it has to convert is known afterwards.
    mSpeeds.inputRate = mSettings.sampleRate;
    const HardwareState state = AudioHardware::current().state();
    const HardwareDevice* const device = state.deviceWithID(mSettings.device);
    mSpeeds.outputRate = device && device->sampleRate > 0.0 ? device->sampleRate : mSettings.sampleRate;
    mChain = std::make_unique<PlaybackChain>(mFeed, mSpeeds);
    AudioHardware::StreamRequest request = {mSettings.device, mSettings.streamName,
                                            [this](StopReason reason) { streamDidStop(reason); }};
    if (mSettings.buffering == Buffering::brief)
        request.latencySeconds = kBriefLatencySeconds;
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
    // As much as there is room for: a device may take several requests in a row when it begins.
    mFillQueue.sync([this] { fill(mFeed.ring.capacityBytes() / 8); });
    mHasReachedEnd = false;
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
    mHasReachedEnd = true;
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
    // Whoever is told may well destroy this.
    const StoppedHandler didStop = mSettings.didStop;
    if (mDelegate)
        mDelegate->audioPlaybackDidStop(reason);
    else if (didStop)
        didStop(reason);
}

std::optional<int64_t> VLRTAudioPlayerCore::numFramesHeard() const
{
    return mStream ? mFeed.clock().numFramesHeardAt(mStream->now()) : std::nullopt;
}

bool VLRTAudioPlayerCore::isMoveUnheard() const
{
    return numFramesHeard().value_or(0) <= mMovedAt;
}

/// A slot's stamp and half a slot would be near enough for a device that asks for less than that at once.
/// Those that ask for a tenth of a second, a tenth of a second ahead, need the clock.
int64_t VLRTAudioPlayerCore::timestamp() const
{
    const int64_t stamp = mFeed.ring.currentTimestamp();
    const std::optional<int64_t> numHeard = numFramesHeard();
    if (stamp < 0 || !numHeard)
        return stamp;
    return mHistory.documentFrameAt(*numHeard).value_or(stamp + kFillFrames / 2);
}

bool VLRTAudioPlayerCore::appendFrames(const float* pairs, int32_t numFrames) noexcept
{
    if (mFeed.ring.framesAvailableToAppend() < numFrames)
        return false;
    mFeed.ring.appendFloats(pairs, numFrames, 2, 0);
    return true;
}

} // namespace velloria
