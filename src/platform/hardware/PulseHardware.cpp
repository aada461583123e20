#include "platform/hardware/PulseHardware.h"

#include "platform/DispatchQueue.h"
#include "platform/hardware/PulseStreams.h"

#include <QCoreApplication>
#include <QTimer>
#include <algorithm>

namespace velloria
{

namespace
{

// A question a moment after one that found no server gets the same answer.
constexpr std::chrono::milliseconds kMinTimeBetweenAttempts(500);
// A server that restarts is back within seconds; who starts one later asks for it.
constexpr int kNumAttempts = 8;
constexpr int kFirstDelayMs = 250;

} // namespace

PulseHardware::PulseHardware(std::chrono::milliseconds patience)
    : mPatience(patience)
    , mStreams(std::make_shared<PulseStreamList>())
    , mIsAlive(std::make_shared<bool>(true))
{
}

PulseHardware::~PulseHardware()
{
    disconnect();
}

void PulseHardware::postToSelf(std::function<void()> job)
{
    postToMainThread([alive = std::weak_ptr(mIsAlive), job = std::move(job)] {
        if (alive.lock())
            job();
    });
}

void PulseHardware::disconnect()
{
    // Streams may still hold the connection; its thread ends with the last of them.
    if (mConnection)
        mConnection->close();
    mConnection.reset();
    mDevices.reset();
    mFirstLists.reset();
    mIsConnected = false;
}

MaybeError PulseHardware::connect()
{
    MaybeError error;
    mConnection = PulseConnection::make(*this, mPatience, &error);
    if (!mConnection)
        return error;
    mFirstLists = std::make_shared<std::optional<PulseDevices::Lists>>();
    mDevices = std::make_unique<PulseDevices>(
        *mConnection, mIDs,
        [this, first = mFirstLists, connection = mConnection.get()](const PulseDevices::Lists& lists) {
            if (!first->has_value())
                *first = lists;
            connection->signal();
            postToSelf([this, lists, connection] {
                if (mConnection.get() == connection)
                    install(lists);
            });
        });
    return mConnection->connect();
}

void PulseHardware::beginToConnect()
{
    if (mConnection && !mIsConnected && mConnection->wasRefused())
        disconnect();
    const auto now = Clock::now();
    if (mConnection || (mLastAttempt && now - *mLastAttempt < kMinTimeBetweenAttempts))
        return;
    mError = connect();
    if (mError)
        disconnect();
    mLastAttempt = Clock::now();
}

bool PulseHardware::ensureConnected()
{
    beginToConnect();
    if (!mConnection || mIsConnected)
        return mIsConnected;
    {
        const PulseConnection::Lock lock(*mConnection);
        mConnection->waitUntil(lock, [this] { return mFirstLists->has_value() || mConnection->isLost(); });
        if (mFirstLists->has_value()) {
            mLists = **mFirstLists;
            mIsConnected = true;
            mError.reset();
            return true;
        }
        mError = mConnection->lastError(QStringLiteral("No sound server can be reached"));
        if (!mConnection->isLost())
            return false;
    }
    disconnect();
    mLastAttempt = Clock::now();
    return false;
}

void PulseHardware::install(const PulseDevices::Lists& lists)
{
    const HardwareState before = mLists.state;
    mLists = lists;
    mIsConnected = true;
    for (PulseStream* const stream : *mStreams) {
        if (!mLists.state.deviceWithID(stream->deviceID()))
            stream->deviceWasLost();
    }
    tellDifferences(before, mLists.state);
}

void PulseHardware::serverDidChange()
{
    if (mDevices)
        mDevices->gather();
}

void PulseHardware::serverWasLost()
{
    postToSelf([this] {
        if (!mConnection)
            return;
        disconnect();
        mError = Error{Error::Code::failed, QStringLiteral("The sound server went away.")};
        mLastAttempt.reset();
        const HardwareState before = std::exchange(mLists, {}).state;
        tellDifferences(before, mLists.state);
        lookForServerLater(0);
    });
}

void PulseHardware::lookForServerLater(int attempt)
{
    if (!qApp || attempt == kNumAttempts)
        return;
    QTimer::singleShot(kFirstDelayMs << std::min(attempt, 4),
                       [this, attempt, alive = std::weak_ptr(mIsAlive)] {
                           if (!alive.lock() || mIsConnected)
                               return;
                           // Its devices are told when it answers.
                           beginToConnect();
                           lookForServerLater(attempt + 1);
                       });
}

HardwareState PulseHardware::state()
{
    ensureConnected();
    return mLists.state;
}

MaybeError PulseHardware::unavailable()
{
    return ensureConnected() ? std::nullopt : mError;
}

bool PulseHardware::setGain(uint32_t device, AudioDirection direction, uint32_t element, float gain)
{
    // The server offers one volume for all channels of a source; an output's is the desktop's affair.
    if (!ensureConnected() || direction != AudioDirection::input || element != 0)
        return false;
    const auto found = mLists.inputs.find(device);
    if (found == mLists.inputs.end())
        return false;
    const PulseLibrary& pulse = mConnection->pulse();
    const PulseConnection::Lock lock(*mConnection);
    pa_cvolume volume;
    const auto level = static_cast<pa_volume_t>(std::clamp(gain, 0.0F, 1.0F) * float{PA_VOLUME_NORM});
    pulse.pa_cvolume_set(&volume, found->second.sampleSpec.channels, level);
    mConnection->forget(pulse.pa_context_set_source_volume_by_name(
        mConnection->context(), found->second.pulseName.constData(), &volume, nullptr, nullptr));
    for (HardwareDevice& changed : mLists.state.devices)
        if (changed.id == device)
            changed.input.gains[0].value = std::clamp(gain, 0.0F, 1.0F);
    return true;
}

std::unique_ptr<OutputStream> PulseHardware::openOutput(const StreamRequest& request, OutputClient& client,
                                                        MaybeError* error)
{
    const bool isConnected = ensureConnected();
    const auto found = mLists.outputs.find(request.device);
    if (isConnected && found != mLists.outputs.end())
        return std::make_unique<PulseOutput>(mConnection, mStreams, found->second, request, client);
    if (error)
        *error = isConnected ? Error{Error::Code::failed, QStringLiteral("There is no such output device.")}
                             : mError;
    return nullptr;
}

std::unique_ptr<InputStream> PulseHardware::openInput(const StreamRequest& request, InputClient& client,
                                                      MaybeError* error)
{
    const bool isConnected = ensureConnected();
    const auto found = mLists.inputs.find(request.device);
    if (isConnected && found != mLists.inputs.end())
        return std::make_unique<PulseInput>(mConnection, mStreams, found->second, request, client);
    if (error)
        *error = isConnected ? Error{Error::Code::failed, QStringLiteral("There is no such input device.")}
                             : mError;
    return nullptr;
}

} // namespace velloria
