#include "cli/subcommands/PlaySession.h"

#include "cli/terminal/Terminal.h"
#include "display/TimeFormatter.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr double kSeekSeconds = 5.0;
constexpr std::chrono::milliseconds kUpdateInterval(50);

QString timeText(double seconds)
{
    TimeFormatter formatter;
    formatter.setPrecision(0.1);
    return formatter.stringWithTime(std::max(0.0, seconds));
}

} // namespace

PlaySession::PlaySession(std::shared_ptr<SoundDocument> document, const SoundSelection& selection)
    : mDocument(std::move(document))
    , mSelection(selection)
    , mKeys([this](KeyReader::Key key) { takeKey(key); })
{
    mDocument->addController(this);
    // Also looks for an interrupt, which a signal's handler can only note.
    QObject::connect(&mTimer, &QTimer::timeout, &mTimer, [this] { update(); });
    mTimer.start(kUpdateInterval);
}

PlaySession::~PlaySession()
{
    mDocument->removeController(this);
}

ExitStatus PlaySession::run()
{
    if (const MaybeError error = mDocument->transport().playSelection(mSelection, mSelection.startTime)) {
        Terminal::sayError(*error);
        return ExitStatus::failed;
    }
    if (!mDocument->transport().isPlaying())
        return ExitStatus::done;
    QCoreApplication::exec();
    return mStatus;
}

void PlaySession::end(ExitStatus status)
{
    mIsEnding = true;
    mStatus = status;
    if (mDocument->transport().isPlaying())
        mDocument->transport().stopSound();
    else
        QCoreApplication::quit();
}

void PlaySession::playbackDidStop()
{
    const StopReason reason = mDocument->transport().stopReason();
    if (reason != StopReason::requested) {
        Terminal::say(reason == StopReason::serverLost ? QStringLiteral("The sound server went away.")
                                                       : QStringLiteral("The audio device went away."));
        mStatus = ExitStatus::failed;
    }
    if (!mPausedAt || mIsEnding || reason != StopReason::requested)
        QCoreApplication::quit();
}

void PlaySession::takeKey(KeyReader::Key key)
{
    const double now = mPausedAt.value_or(mDocument->transport().cueTime());
    switch (key) {
    case KeyReader::Key::space:
        pauseOrPlay();
        break;
    case KeyReader::Key::left:
        seekTo(now - kSeekSeconds);
        break;
    case KeyReader::Key::right:
        seekTo(now + kSeekSeconds);
        break;
    case KeyReader::Key::quit:
        end(ExitStatus::done);
        break;
    }
}

void PlaySession::pauseOrPlay()
{
    DocumentTransport& transport = mDocument->transport();
    if (!mPausedAt) {
        mPausedAt = std::max(transport.cueTime(), mSelection.startTime);
        transport.stopSound();
        return;
    }
    const double from = *std::exchange(mPausedAt, std::nullopt);
    if (const MaybeError error = transport.playSelection(mSelection, from)) {
        Terminal::sayError(*error);
        end(ExitStatus::failed);
    }
}

void PlaySession::seekTo(double time)
{
    const double target = std::clamp(time, mSelection.startTime, mSelection.endTime);
    if (mPausedAt)
        mPausedAt = target;
    else
        mDocument->transport().playSelection(mSelection, target);
}

void PlaySession::update()
{
    if (Terminal::isInterrupted() && !mIsEnding) {
        end(ExitStatus::done);
        return;
    }
    VLRTAudioPlayer* const player = mDocument->transport().audioPlayback();
    const double now = mPausedAt.value_or(mDocument->transport().cueTime());
    const QString state = QStringLiteral("%1 %2 / %3")
                              .arg(mPausedAt ? QStringLiteral("paused ") : QStringLiteral("playing"),
                                   timeText(std::min(now, mSelection.endTime)), timeText(mSelection.endTime));
    // An update in between two requests of the device says nothing about the level.
    if (!player)
        mPeaks = {};
    else if (const std::optional<PeakHolder::Peaks> peaks = player->takePeaks())
        mPeaks = *peaks;
    mLine.show(state, mPeaks.leftPeak, mPeaks.rightPeak);
}

} // namespace velloria
