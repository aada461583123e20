#include "Classes/CoreAudio/VLRTAudioMonitor.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "platform/DispatchQueue.h"
#include "platform/NotificationCenter.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kReportInterval = 1.0 / 24.0;
constexpr std::chrono::milliseconds kServiceInterval(5);
constexpr uint64_t kNothingNew = ~uint64_t{0};

double decibels(uint32_t bits)
{
    return 20.0 * std::log10(double{std::bit_cast<float>(bits)});
}

} // namespace

VLRTAudioMonitorCore::VLRTAudioMonitorCore()
    : mReport(kNothingNew)
{
}

/// REALTIME.
void VLRTAudioMonitorCore::capture(const float* frames, uint32_t numFrames) noexcept
{
    float left = mLeftPeak;
    float right = mRightPeak;
    for (size_t i = 0; i < numFrames; ++i) {
        left = std::max(left, std::fabs(frames[2 * i]));
        right = std::max(right, std::fabs(frames[2 * i + 1]));
    }
    mLeftPeak = left;
    mRightPeak = right;
    mElapsed += numFrames / mDeviceSampleRate;
    if (mElapsed >= kReportInterval)
        report();
}

/// REALTIME.
void VLRTAudioMonitorCore::report() noexcept
{
    const auto high = static_cast<uint64_t>(std::bit_cast<uint32_t>(mLeftPeak)) << 32U;
    // Relaxed: the number is all there is.
    mReport.store(high | std::bit_cast<uint32_t>(mRightPeak), std::memory_order_relaxed);
    mLeftPeak = 0.0F;
    mRightPeak = 0.0F;
    mElapsed = 0.0;
}

bool VLRTAudioMonitorCore::takeReport(InputLevels& levels)
{
    const uint64_t bits = mReport.exchange(kNothingNew, std::memory_order_relaxed);
    if (bits == kNothingNew)
        return false;
    levels = {decibels(static_cast<uint32_t>(bits >> 32U)), decibels(static_cast<uint32_t>(bits))};
    return true;
}

VLRTAudioMonitor::VLRTAudioMonitor(StoppedHandler didStop)
    : mUnit(InputUnit::settingsFromPreferences(QStringLiteral("Velloria")), mCore, std::move(didStop))
{
    mCore.setDeviceSampleRate(std::max(1.0, mUnit.sampleRate()));
}

VLRTAudioMonitor::~VLRTAudioMonitor() = default;

MaybeError VLRTAudioMonitor::start()
{
    if (MaybeError error = mUnit.start())
        return error;
    mTimer = std::make_unique<PeriodicTimer>(kServiceInterval, [this] { service(); });
    return std::nullopt;
}

void VLRTAudioMonitor::stop()
{
    mTimer.reset();
    mUnit.stop();
}

/// On the timer's thread.
void VLRTAudioMonitor::service()
{
    InputLevels levels;
    if (!mCore.takeReport(levels))
        return;
    postToMainThread([levels, alive = std::weak_ptr(mIsAlive)] {
        if (alive.lock())
            NotificationCenter::standard().post(AudioNotification::inputLevelsDidChange(), &levels);
    });
}

} // namespace velloria
