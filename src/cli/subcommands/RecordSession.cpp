#include "cli/subcommands/RecordSession.h"

#include "cli/terminal/Terminal.h"
#include "display/TimeFormatter.h"
#include "document/DocumentTransport.h"

#include <QCoreApplication>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr std::chrono::milliseconds kUpdateInterval(50);

float magnitudeOf(const FloatBuffer& samples, float peak)
{
    for (const float sample : samples)
        peak = std::max(peak, std::fabs(sample));
    return peak;
}

QString timeText(double seconds)
{
    TimeFormatter formatter;
    formatter.setPrecision(0.1);
    return formatter.stringWithTime(seconds);
}

} // namespace

RecordSession::RecordSession(SoundDocument& document, const Settings& settings)
    : mDocument(document)
    , mSettings(settings)
    , mGate(document.sampleRate())
    , mKeys([this](KeyReader::Key key) {
        if (key == KeyReader::Key::quit)
            end();
    })
{
    // Also looks for an interrupt, which a signal's handler can only note.
    QObject::connect(&mTimer, &QTimer::timeout, &mTimer, [this] { update(); });
    mTimer.start(kUpdateInterval);
}

ExitStatus RecordSession::run()
{
    if (const MaybeError error = mDocument.recording().recordFrom(0.0, 0.0, 0, this)) {
        Terminal::sayError(*error);
        return ExitStatus::failed;
    }
    QCoreApplication::exec();
    if (const QString loss = mDocument.recording().lossMessage(); !loss.isEmpty())
        Terminal::say(loss);
    const MaybeError& error = mDocument.recording().endError();
    if (error)
        Terminal::sayError(*error);
    if (mDocument.numberOfFrames() < 1)
        Terminal::say(QStringLiteral("Nothing was recorded."));
    return error || mDocument.numberOfFrames() < 1 ? ExitStatus::failed : ExitStatus::done;
}

bool RecordSession::keep(VLRTAudioRecorder& recorder, const FloatBuffer& left, const FloatBuffer& right)
{
    const int64_t numBefore = mDocument.recording().numRecordedFrames();
    const auto count = static_cast<int64_t>(left.size());
    const int64_t room = mSettings.numFrames ? *mSettings.numFrames - numBefore : count;
    if (room > count)
        return mDocument.recording().audioRecording(recorder, left, right);
    const auto isKept = static_cast<ptrdiff_t>(std::max<int64_t>(0, room));
    const bool isWritten =
        mDocument.recording().audioRecording(recorder, FloatBuffer(left.begin(), left.begin() + isKept),
                                             FloatBuffer(right.begin(), right.begin() + isKept));
    return isWritten && !mSettings.numFrames;
}

bool RecordSession::audioRecording(VLRTAudioRecorder& recorder, const FloatBuffer& leftData,
                                   const FloatBuffer& rightData)
{
    mLeftPeak = magnitudeOf(leftData, mLeftPeak);
    mRightPeak = magnitudeOf(rightData, mRightPeak);
    if (!mSettings.trigger)
        return keep(recorder, leftData, rightData);
    return mGate.take(
        leftData, rightData, *mSettings.trigger,
        [&](const FloatBuffer& left, const FloatBuffer& right) { return keep(recorder, left, right); });
}

void RecordSession::audioRecordingDidStop(VLRTAudioRecorder& recorder)
{
    mDocument.recording().audioRecordingDidStop(recorder);
    QCoreApplication::quit();
}

void RecordSession::end()
{
    mDocument.transport().stopSound();
}

void RecordSession::update()
{
    if (Terminal::isInterrupted())
        end();
    const bool isWaiting = mSettings.trigger && !mGate.isOpen();
    const double seconds =
        static_cast<double>(mDocument.recording().numRecordedFrames()) / mDocument.sampleRate();
    mLine.show(QStringLiteral("%1 %2").arg(
                   isWaiting ? QStringLiteral("waiting  ") : QStringLiteral("recording"), timeText(seconds)),
               std::exchange(mLeftPeak, 0.0F), std::exchange(mRightPeak, 0.0F));
}

} // namespace velloria
