#include "controllers/AutoRecordController.h"

#include "controllers/RecordingController.h"
#include "document/DocumentTransport.h"
#include "platform/UserDefaults.h"

#include <utility>

namespace velloria
{

namespace
{

namespace Key
{
QString startLevel()
{
    return QStringLiteral("automaticRecording.startLevel");
}
QString stopLevel()
{
    return QStringLiteral("automaticRecording.stopLevel");
}
QString stopDuration()
{
    return QStringLiteral("automaticRecording.stopDuration");
}
} // namespace Key

} // namespace

AutoRecordController::AutoRecordController(SoundController& controller)
    : mController(controller)
    , mGate(controller.document().sampleRate())
{
    registerDefaults();
    const UserDefaults& defaults = UserDefaults::standard();
    mSettings = {defaults.doubleValue(Key::startLevel()), defaults.doubleValue(Key::stopLevel()),
                 defaults.doubleValue(Key::stopDuration())};
}

AutoRecordController::~AutoRecordController()
{
    DocumentRecording& recording = mController.document().recording();
    VLRTAudioRecorder* const recorder = recording.audioRecording();
    if (!recorder || recorder->delegate() != this)
        return;
    recorder->setDelegate(&recording);
    // What was heard before it was done comes a little later, and is no louder for that.
    if (mIsDone)
        recording.setSieve(
            [gate = std::move(mGate), settings = mSettings](const FloatBuffer& left, const FloatBuffer& right,
                                                            const DocumentRecording::Keeper& keep) mutable {
                return gate.take(left, right, settings, keep);
            });
}

void AutoRecordController::registerDefaults()
{
    const AutoRecordGate::Settings usual;
    UserDefaults& defaults = UserDefaults::standard();
    defaults.registerDefault(Key::startLevel(), usual.startLevel);
    defaults.registerDefault(Key::stopLevel(), usual.stopLevel);
    defaults.registerDefault(Key::stopDuration(), usual.stopDuration);
}

MaybeError AutoRecordController::begin()
{
    return mController.recording().recordAtEnd(this);
}

void AutoRecordController::completeAction()
{
    mIsDone = true;
    UserDefaults& defaults = UserDefaults::standard();
    defaults.setValue(Key::startLevel(), mSettings.startLevel);
    defaults.setValue(Key::stopLevel(), mSettings.stopLevel);
    defaults.setValue(Key::stopDuration(), mSettings.stopDuration);
    mController.document().transport().stopSound();
}

QString AutoRecordController::startReadout() const
{
    return QString::asprintf("%1.0f dB", mSettings.startLevel);
}

QString AutoRecordController::stopReadout() const
{
    return QString::asprintf("%1.0f dB", mSettings.stopLevel);
}

QString AutoRecordController::durationReadout() const
{
    return QString::asprintf("%1.0fs", mSettings.stopDuration);
}

bool AutoRecordController::audioRecording(VLRTAudioRecorder& recorder, const FloatBuffer& leftData,
                                          const FloatBuffer& rightData)
{
    DocumentRecording& recording = mController.document().recording();
    const bool goesOn =
        mGate.take(leftData, rightData, mSettings, [&](const FloatBuffer& left, const FloatBuffer& right) {
            return recording.audioRecording(recorder, left, right);
        });
    if (mBlockHandler)
        mBlockHandler({AutoRecordGate::levelOf(leftData, rightData),
                       static_cast<double>(leftData.size()) / mController.document().sampleRate(),
                       mGate.isOpen()});
    return goesOn;
}

void AutoRecordController::audioRecordingDidStop(VLRTAudioRecorder& recorder)
{
    // Neither needs this any more once the other has run: the owner may well destroy it.
    const std::function<void()> stoppedHandler = mStoppedHandler;
    mController.document().recording().audioRecordingDidStop(recorder);
    if (stoppedHandler)
        stoppedHandler();
}

} // namespace velloria
